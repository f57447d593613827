#include "program.h"

#include "conversation/consent.h"
#include "conversation/question_input.h"
#include "databases/database.h"
#include "failure.h"
#include "job.h"
#include "outline.h"
#include "private_file.h"
#include "services/endpoint.h"
#include "services/saved_conversation.h"
#include "standard_streams.h"
#include "terminal/rendering.h"

#include <istream>
#include <memory>
#include <ostream>
#include <string>

namespace {

/// The saved conversation to begin with; "" when there is none.
std::string readRestored(const Options& options, const DatabaseMark& database, Streams streams) {
  if (options.restoreFile.empty()) return "";
  const std::string saved = readSavedConversation(options.restoreFile);
  Consent consent;
  if (isInputTerminal()) consent = [&](const std::string& question) { return askToAgree(question, streams); };
  std::string accepted = consentToSaved(saved, chooseEndpoint(options.service, *options.service.provider), consent);
  const std::string notice = consentToDatabase(saved, database, options.allowOtherDatabase, consent);
  if (!notice.empty()) complain(streams.err, notice);
  return accepted;
}

/// An answer that is paid for is to be kept. @throw Failure
void makeSureToSave(const std::string& file) {
  const std::string obstacle = file.empty() ? "" : tryPrivateFile(file);
  if (!obstacle.empty())
    throw Failure(ExitCode::OutputFailed, "The conversation can't be saved in " + file + ": " + obstacle);
}

Job makeJob(const Options& options, Streams streams) {
  std::unique_ptr<Database> opened = openDatabase(options.database, options.writes ? Access::Write : Access::Read);
  DatabaseDescription database = opened->readDescription();
  for (const std::string& note : database.notes) complain(streams.err, note);
  Setup setup{.model = options.model,
              .temperature = options.temperature,
              .instructions = options.instructions,
              .productName = opened->productName(),
              .structureJson = obtainStructureJson(database)};
  Background background{.tables = outlineTables(database), .workbench = nullptr};
  DatabaseMark mark = markDatabase(options.database, setup.structureJson);
  return {.options = options,
          .streams = streams,
          .question = options.question.value_or(""),
          .setup = std::move(setup),
          .background = std::move(background),
          .database = std::move(mark),
          .opened = std::move(opened),
          .description = std::move(database),
          .saved = ""};
}

void addInput(Job& job) {
  if (job.options.question && isInputGiven()) job.question = joinInput(job.question, job.streams.in, job.streams.err);
}

/// What can be known to fail, and what the user has to agree to, comes before anything is sent.
void prepareToAsk(Job& job) {
  makeSureToSave(job.options.saveFile);
  job.saved = readRestored(job.options, job.database, job.streams);
  addInput(job);
}

}  // namespace

ExitCode runProgram(const Options& options, Streams streams) {
  streams.showsPieces = !options.isWhole && isOutputTerminal();
  streams.tellsSeconds = isErrorScreen();
  if (options.listModels) return listModels(options, streams);
  Job job = makeJob(options, streams);
  if (options.showPrompt) return showPrompt(job);
  if (options.isDryRun) {
    addInput(job);
    return showContext(job);
  }
  prepareToAsk(job);
  const bool isConversation = !options.question && isInputTerminal();
  return isConversation ? converseOnTerminal(job) : answerWithoutTerminal(job);
}
