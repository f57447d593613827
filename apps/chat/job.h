// What the program is to do, once its command line and the database are read; and the ways to do it.
#pragma once

#include "conversation/background.h"
#include "conversation/turn.h"
#include "databases/database.h"
#include "exit_code.h"
#include "options.h"
#include "services/chat_partner.h"
#include "services/database_mark.h"

#include <memory>
#include <string>

/// What all ways share. A further collaborator is a further member.
struct Job {
  const Options& options;
  Streams streams;
  std::string question;   // with what was piped; "" when there is none
  Setup setup;            // what the service is told of the database
  Background background;  // what the user can ask about it here
  DatabaseMark database;
  std::unique_ptr<Database> opened;
  DatabaseDescription description;
  std::string saved;  // the conversation to go on with; "" for a new one
};

// Each does all of its job, and tells of what fails.

/// Prints what the model would be told, and sends nothing.
ExitCode showPrompt(const Job& job);
/// Prints that with the question, and before it where it would go and how much it is; sends nothing.
ExitCode showContext(const Job& job);
/// One question, or each line of what is piped.
ExitCode answerWithoutTerminal(const Job& job);
ExitCode converseOnTerminal(const Job& job);

/// Prints the models of the service, for which no database is needed.
ExitCode listModels(const Options& options, Streams streams);
