// The two ways in which services send a reply piece by piece: server-sent events, and a line each. Text goes in,
// events come out; what they say is for others to read.
#pragma once

#include "qai_lines.h"

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>

struct StreamEvent {
  std::string_view type;  // as the stream names it; empty when it does not
  std::string_view data;
  bool isError;  // the data came in fields "error", which are no standard's, but some servers report failures so
};

/// Server-sent events by the rules of HTML's standard (9.2, text/event-stream), but for the field "error" and the end
/// of the stream. Reconnecting is no concern here: "id" and "retry" are passed over. So are data beside an error.
///
/// Bytes pass as they are, UTF-8 or not. The time is in proportion to them, however they are cut; nothing is allocated
/// for events that lie whole within a part and have one line of data, nor for others once there is room for them.
/// Throws nothing but std::bad_alloc. Views point into the object: it is neither copied nor moved.
class QAIEventStream {
 public:
  /// `mostBytes`: of the data and type of an event, with the line that is being read.
  explicit QAIEventStream(std::size_t mostBytes) : most_(mostBytes) {}
  QAIEventStream(const QAIEventStream&) = delete;
  QAIEventStream& operator=(const QAIEventStream&) = delete;

  /// The next bytes, cut anywhere, after next() gave nothing. They must stay until it does again.
  void add(std::string_view part) { lines_.add(part); }

  /// The next whole event; its views live until the next call of next() or add(). Nothing when there is none yet.
  std::optional<StreamEvent> next();

  /// At the end of the stream, after next() gave nothing: the event whose blank line is missing, since some servers end
  /// right behind their last line. Where the stream was cut, this may be half an event.
  std::optional<StreamEvent> finish();

  /// Whether an event was longer than `mostBytes`. Nothing more comes then.
  bool isTooLong() const { return lines_.isTooLong(); }

 private:
  /// A value that is looked at where it lies, and kept when it won't lie there any longer.
  class Value {
   public:
    std::string_view view() const { return view_; }
    void set(std::string_view text) { view_ = text; }
    void addLine(std::string_view line);
    void keep();

   private:
    std::string_view view_;
    std::string own_;
  };

  void readField(std::string_view line);
  void addData(std::string_view line, bool isError);
  std::optional<StreamEvent> takeEvent();

  std::size_t most_;
  QAILines lines_{QAILines::Ends::Any};
  Value type_;
  Value data_;
  bool hasData_ = false;
  bool isError_ = false;
};

/// Newline-delimited JSON: an event a line that is not blank, the line being its data. Else as above; a CR before the
/// LF belongs to the end of the line, any other is JSON's white space.
class QAILineStream {
 public:
  /// `mostBytes`: of a line.
  explicit QAILineStream(std::size_t mostBytes) : most_(mostBytes) {}
  QAILineStream(const QAILineStream&) = delete;
  QAILineStream& operator=(const QAILineStream&) = delete;

  void add(std::string_view part) { lines_.add(part); }
  std::optional<StreamEvent> next();
  std::optional<StreamEvent> finish();
  bool isTooLong() const { return lines_.isTooLong(); }

 private:
  std::size_t most_;
  QAILines lines_{QAILines::Ends::LF};
};
