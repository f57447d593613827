#include "conversation/turn.h"

#include "conversation/answer_end.h"
#include "terminal/rendering.h"

#include <string_view>

Asked askAndShow(Answerer& answerer, const std::string& question, const Streams& streams, const TurnRunner& runTurn) {
  Asked asked;
  TextWriter writer(streams.out);
  if (streams.showsPieces) {
    const auto show = [&writer](std::string_view piece) { writer.add(piece); };
    asked.calledOff = runTurn([&] { asked.answer = answerer.askInPieces(question, show); });
  } else {
    asked.calledOff = runTurn([&] { asked.answer = answerer.ask(question); });
  }
  if (!asked.answer.error.empty()) {
    if (!asked.calledOff) writer.breakOff();
    return asked;
  }
  writer.finish(streams.showsPieces ? "" : asked.answer.text);
  if (const std::string end = explainEnd(asked.answer); !end.empty()) complain(streams.err, end);
  return asked;
}
