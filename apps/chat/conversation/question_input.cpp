#include "conversation/question_input.h"

#include <cf/text.h>

#include <condition_variable>
#include <istream>
#include <mutex>
#include <ostream>
#include <string_view>
#include <thread>
#include <vector>

namespace {

constexpr std::size_t kLargest = std::size_t{1} << 20U;
constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";

/// Tells what is waited for, unless it ends before that takes long.
class WaitNotice {
 public:
  WaitNotice(std::ostream& err, std::chrono::milliseconds patience)
      : thread_([this, &err, patience] { tellLater(err, patience); }) {}
  ~WaitNotice() {
    {
      const std::lock_guard lock(mutex_);
      isOver_ = true;
    }
    over_.notify_one();
    thread_.join();
  }
  WaitNotice(const WaitNotice&) = delete;
  WaitNotice& operator=(const WaitNotice&) = delete;

 private:
  /// Takes no memory, for want of which nobody could be told here.
  void tellLater(std::ostream& err, std::chrono::milliseconds patience) noexcept {
    std::unique_lock lock(mutex_);
    if (over_.wait_for(lock, patience, [this] { return isOver_; })) return;
    err << "qai-chat: Waiting for the end of the standard input, which goes with the question; with </dev/null none "
           "does"
        << std::endl;
  }

  std::mutex mutex_;
  std::condition_variable over_;
  bool isOver_ = false;
  std::thread thread_;  // last: it uses all the others
};

std::string readAll(std::istream& in) {
  constexpr std::size_t kPiece = std::size_t{64} << 10U;
  std::string text;
  std::vector<char> piece(kPiece);
  while (in.read(piece.data(), kPiece), in.gcount() > 0) {
    text.append(piece.data(), static_cast<std::size_t>(in.gcount()));
    if (text.size() > kLargest)
      throw InputError(ExitCode::WrongUsage, "The standard input holds more than 1 MiB, too much for a question");
  }
  return text;
}

}  // namespace

std::string joinInput(const std::string& question, std::istream& in, std::ostream& err,
                      std::chrono::milliseconds patience) {
  std::string text;
  {
    const WaitNotice notice(err, patience);
    text = readAll(in);
  }
  if (text.find('\0') != std::string::npos)
    throw InputError(ExitCode::WrongUsage, "The standard input holds no text that a question can have");
  if (text.starts_with(kByteOrderMark)) text.erase(0, kByteOrderMark.size());
  text.erase(text.find_last_not_of(" \t\r\n") + 1);
  return text.empty() ? question : question + "\n\n" + cfToUTF8(text);
}
