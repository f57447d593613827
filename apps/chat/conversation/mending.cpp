#include "conversation/mending.h"

#include "terminal/rendering.h"

#include <optional>
#include <ostream>

namespace {

/// What the model is told of `failure`.
std::string makeReport(const StatementFailure& failure, const Agree& agree) {
  std::string report = failure.forModel + ".";
  const bool tellsAll = !failure.engineText.empty() && agree &&
                        agree("The database says: " + failure.engineText +
                              "\nThat may quote a value of a row. Send it to the service, too?");
  if (tellsAll) report += " The database says: " + failure.engineText + ".";
  return report + " Write it anew, whole.";
}

}  // namespace

bool runStatements(Workbench& workbench, const std::string& answer, const Mender& mender) {
  const std::optional<StatementFailure> first = workbench.take(answer);
  if (!first) return !workbench.hasRefused();
  std::ostream& err = mender.streams.err;
  complain(err, first->forUser);
  const std::string report = makeReport(*first, workbench.agree());
  complain(err, "The service is told this, and asked once more: " + report);
  const auto [second, calledOff] =
      askAndShow(mender.answerer, {.text = report, .matter = Matter::KindOfError}, mender.streams, mender.runTurn);
  if (!second.error.empty()) {
    if (!calledOff) complain(err, second.error);
    return false;
  }
  if (mender.note) mender.note(second);
  const std::optional<StatementFailure> again = workbench.take(second.text);
  if (!again) return workbench.size() != 0 && !workbench.hasRefused();  // words alone mend nothing
  complain(err, "First: " + first->forUser);
  complain(err, "Then: " + again->forUser);
  return false;
}
