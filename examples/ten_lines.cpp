// Asks one question about a database: ten_lines [ADDRESS]
#include <qai.hpp>

#include <iostream>

int main(int argc, char** argv) {
  qai::Assistant assistant(OPENAI_v1, "any key", argc > 1 ? argv[1] : "http://127.0.0.1:8080");
  const auto filled = assistant.configure([](qai::Fill& fill) {
    fill.model("standin-small").databaseStructure(R"([{"schemas": [{"tables": [{"name": "glacier",
        "fields": [{"name": "id", "type": "INTEGER"}, {"name": "height", "type": "REAL"}], "pkeys": ["id"]}]}]}])");
  });
  auto session = assistant.createSession();
  const auto reply = session->ask("Which glaciers are the three highest?");
  std::cout << (filled && reply ? reply->text() : filled.error() + reply.error()) << '\n';
}
