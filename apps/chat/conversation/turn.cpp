#include "conversation/turn.h"

#include "conversation/answer_end.h"
#include "terminal/rendering.h"
#include "terminal/waiting.h"

#include <string_view>

Asked askAndShow(Answerer& answerer, const Inquiry& inquiry, const Streams& streams, const TurnRunner& runTurn) {
  Asked asked;
  TextWriter writer(streams.out);
  Waiting waiting(streams.tellsSeconds ? &streams.err : nullptr);
  if (streams.showsPieces) {
    const auto show = [&](std::string_view piece) {
      waiting.end();
      writer.add(piece);
    };
    asked.calledOff = runTurn([&] { asked.answer = answerer.askInPieces(inquiry, show); });
  } else {
    asked.calledOff = runTurn([&] { asked.answer = answerer.ask(inquiry); });
  }
  waiting.end();
  if (!asked.answer.error.empty()) {
    if (!asked.calledOff) writer.breakOff();
    return asked;
  }
  writer.finish(streams.showsPieces ? "" : asked.answer.text);
  if (const std::string end = explainEnd(asked.answer); !end.empty()) complain(streams.err, end);
  return asked;
}
