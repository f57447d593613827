#include "options.h"

#include <cf/text.h>

#include <CLI/CLI.hpp>

#include <algorithm>

namespace {

constexpr double kHighestTemperature = 2.0;

constexpr const char* kFooterStart = R"(
With a QUESTION the answer is printed and the program ends; what a pipe or a file
brings to the standard input, 1 MiB at most, goes with it (</dev/null keeps a
loop's or a script's input out of it). Without one, a terminal gets a conversation
(/help lists its commands), and of piped input each line that is not blank is a
question or a command; "exit" ends it. Only the structure of the database goes to
the service, never its rows, unless /share N sends some: --dry-run tells beforehand
what would go and where, /sent afterwards what went.

A statement of an answer that only reads is run at once, and its rows are shown:
10 s, 10,000 rows, 16 MiB and 128 MiB of the engine's memory at most. --run ask
asks first, --run never leaves it to /run. One that fails goes back once, as the
kind of the error with names of the schema; the database's own words, which may
quote a row, go when that is agreed to. One that would write is refused, but with
--write is asked about, before it runs and before its changes are kept. To agree
takes a conversation at a terminal. --csv and --json print rows alone to the
standard output, and all else to the standard error.

A terminal shows an answer while it comes, and Ctrl-C stops it; a pipe or a file
gets it when it is complete. --no-stream has it complete everywhere, for servers
that do not stream or refuse to be asked for it.

At a terminal, but on Windows, what is asked is kept for the next run, for this
user alone: in XDG_STATE_HOME or ~/.local/state. What begins with a blank is not.

Providers, the environment variables with their keys, and where they are:
)";

constexpr const char* kFooterEnd = R"(
--save keeps the conversation in FILE after each answer, for this user alone and
without keys: where an answer quotes one, "[redacted]" is kept. --restore goes on
with it, and asks before it goes to another address than the one in use, or on
over another database. OpenAI Assistants keeps conversations itself, so neither is
for it. A key goes to another machine unencrypted (http) with --allow-http only.
QAI_PROXY names a proxy as --proxy does, and is the place for one with a password,
which would show in the list of processes.

Without --model one of the service's list answers: of its well-known families,
or the first that is not for other work than chat where --host or a variable
names the server. A terminal shows which; /model NAME takes another.

--host names another server that speaks the same. It is a URL, and https is meant
where it has no scheme; of Ollama alone it is read as Ollama reads OLLAMA_HOST:
http is meant, and port 11434. It may end in the version (/v1, /v1beta, /api)
that the requests begin with. OPENAI_BASE_URL names the server of both of OpenAI's
services where --host does not, and OPENAI_API_KEY goes there. Without a key and
without a host so named a stand-in inside the program answers by rules; none
stands in for Ollama. OpenAI Assistants keeps the conversation at the service,
which deletes it when the program ends.

Exit codes:
   0  fine
  64  wrong usage, piped input that is no question, or what was not agreed to
  65  the file is not a database, or its structure is damaged; it is no saved
      conversation; or a statement failed for good, or was refused
  66  the file is missing or can't be read
  69  the service can't be reached, or failed
  70  an error inside the program
  74  the answer or the conversation can't be written
  77  the service refused the key
)";

std::string makeFooter() {
  constexpr std::size_t kNameWidth = 19;
  std::string text = kFooterStart;
  for (const Provider& provider : kProviders) {
    std::string name = provider.name;
    name.resize(kNameWidth, ' ');
    std::string keys;
    for (const char* variable : provider.keyVariables) keys += (keys.empty() ? "" : " or ") + std::string(variable);
    text += "  " + name + (keys.empty() ? "no key" : keys) + "; " + provider.hostNote + "\n";
  }
  return text + kFooterEnd;
}

std::string checkTemperature(const std::string& text) {
  const std::optional<double> number = cfTextToNumber(text);
  if (number && *number >= 0.0 && *number <= kHighestTemperature) return "";
  return "'" + text + "' is not a number from 0 to 2";
}

std::string checkProvider(const std::string& name) {
  if (findProvider(name) != nullptr) return "";
  return "'" + name + "' is not one of: " + listProviders();
}

// Not even to name it: a command line is for everyone's eyes, and the error text may be for a log's.
std::string checkProxy(const std::string& url) {
  if (url.find('@') == std::string::npos) return "";
  return "a user name or password would show in the list of processes; put the address into QAI_PROXY";
}

CommandLine wrongUsage(std::string sentence) {
  // Texts of the parser may span lines; the user gets one.
  std::replace(sentence.begin(), sentence.end(), '\n', ' ');
  return {.options = {}, .end = ExitCode::WrongUsage, .text = sentence + " (qai-chat --help explains)"};
}

/// `word` is one that --run takes.
RunMode readRunMode(const std::string& word) {
  if (word == "ask") return RunMode::Ask;
  return word == "never" ? RunMode::Never : RunMode::Auto;
}

/// What the parser has a text or a flag of, and Options something else.
struct Given {
  std::string provider = kProviders.front().name;
  std::string question;
  std::string run = "auto";
  bool csv = false;
  bool json = false;
};

void declareRunning(CLI::App& app, Options& options, Given& given) {
  app.add_option("--run", given.run, "when a statement that only reads is run")
      ->check(CLI::IsMember({"auto", "ask", "never"}).description(""))  // which would list them twice
      ->type_name("auto|ask|never")
      ->capture_default_str();
  app.add_flag("--write", options.writes, "let statements write, each when you have agreed to it");
  CLI::Option* const csv = app.add_flag("--csv", given.csv, "print rows alone, as CSV");
  app.add_flag("--json", given.json, "print rows alone, as JSON")->excludes(csv);
}

void declare(CLI::App& app, Options& options, Given& given) {
  app.add_option("DATABASE", options.database, "a SQLite file")->type_name("");
  app.add_option("QUESTION", given.question, "what to ask, in one argument")->type_name("");
  app.add_option("--provider", given.provider, "the service to ask")
      ->check(checkProvider)
      ->type_name("NAME")
      ->capture_default_str();
  app.add_option("--model", options.model, "default: one that chats, of the service's list")->type_name("NAME");
  app.add_option("--host", options.service.host, "another address of the service")->type_name("ADDRESS");
  app.add_option("--instructions", options.instructions, "what the model should heed in every answer");
  app.add_option("--temperature", options.temperature, "from 0 (dry) to 2 (wild)")
      ->check(checkTemperature)
      ->type_name("NUMBER");
  app.add_option("--ca-file", options.service.caFile, "PEM file of authorities to trust, too")->type_name("FILE");
  app.add_option("--proxy", options.service.proxyURL, "HTTP proxy, as http://host:port")
      ->check(checkProxy)
      ->type_name("URL");
  app.add_flag("--allow-http", options.service.allowHttp, "let keys go unencrypted to other machines");
  app.add_option("--save", options.saveFile, "keep the conversation in FILE")->type_name("FILE");
  app.add_option("--restore", options.restoreFile, "go on with the conversation in FILE")->type_name("FILE");
  app.add_flag("--other-database", options.allowOtherDatabase, "let --restore go on over another database");
  app.add_flag("--no-stream", options.isWhole, "show each answer when it is complete");
  declareRunning(app, options, given);
  app.add_flag("--list-models", options.listModels, "list the service's models and end");
  app.add_flag("--show-prompt", options.showPrompt, "print what the model would be told and end");
  app.add_flag("--dry-run", options.isDryRun, "print what would be sent, to whom and how much it is, and end");
  app.set_version_flag("--version", std::string("qai-chat ") + QAI_VERSION, "print the version and end");
  app.allow_windows_style_options(false);  // a QUESTION and a DATABASE may begin with "/"
  app.set_help_flag("-h,--help", "print this text and end");
  app.footer(makeFooter());
}

std::string explainExtras(const std::vector<std::string>& extras) {
  for (const std::string& extra : extras) {
    if (extra.starts_with('-')) return "There is no option " + extra.substr(0, extra.find('='));
  }
  return "There is more after the QUESTION; put it in quotes";
}

}  // namespace

CommandLine readCommandLine(const std::vector<std::string>& arguments) {
  CommandLine result;
  Given given;
  CLI::App app("Ask an AI service about a database.", "qai-chat");
  declare(app, result.options, given);
  try {
    app.parse(std::vector<std::string>(arguments.rbegin(), arguments.rend()));  // the parser takes from the end
  } catch (const CLI::CallForHelp&) {
    return {.options = {}, .end = ExitCode::Fine, .text = app.help()};
  } catch (const CLI::CallForVersion& version) {
    return {.options = {}, .end = ExitCode::Fine, .text = std::string(version.what()) + "\n"};
  } catch (const CLI::ExtrasError&) {
    return wrongUsage(explainExtras(app.remaining()));
  } catch (const CLI::ParseError& error) {
    return wrongUsage(error.what());
  }
  result.options.service.provider = findProvider(given.provider);
  if (app.count("QUESTION") > 0) result.options.question = given.question;
  result.options.runMode = readRunMode(given.run);
  if (given.csv) result.options.rowFormat = RowFormat::CSV;
  if (given.json) result.options.rowFormat = RowFormat::JSON;
  if (result.options.database.empty() && !result.options.listModels) return wrongUsage("No DATABASE is given");
  if (result.options.question && cfTrimAsString(given.question).empty()) return wrongUsage("The QUESTION is empty");
  if (result.options.isDryRun && !result.options.restoreFile.empty())
    return wrongUsage("--dry-run tells of new conversations, not of one to restore");
  const bool keeps = !result.options.saveFile.empty() || !result.options.restoreFile.empty();
  if (keeps && result.options.service.provider->keepsConversations)
    return wrongUsage(std::string(result.options.service.provider->title) + " keeps conversations itself");
  return result;
}
