// A database's description as JSON text, and the same as a list: the DDL that travels to the model.
#include "expect.h"
#include "host.h"
#include "plain_ddl.h"
#include "targets.h"
#include "variants.h"

#include <cf/text.h>

#include <algorithm>
#include <cstddef>

namespace {

/// What the statements must add up to.
struct Statements {
  void add(const CMVariant& list) {
    for (const CMVariant& statement : list.listRef()) {
      text += statement.stringRef() + "\n";
      ++count;
    }
  }

  std::string text;
  std::ptrdiff_t count = 0;
  std::size_t schemaNames = 0;  // bytes of the names that stand before objects, with backticks and point
};

const CMVariant& memberOf(const CMVariant& map, const std::string& key) {
  static const CMVariant kNone;
  const auto found = map.mapValue().find(key);
  return found == map.mapValue().end() ? kNone : found->second;
}

Statements collect(const CMVariant& catalogs) {
  Statements all;
  for (const CMVariant& catalog : catalogs.listRef()) {
    all.add(memberOf(catalog, "instructions"));
    for (const CMVariant& schema : memberOf(catalog, "schemas").listRef()) {
      const CMVariant& objects = memberOf(schema, "instructions");
      all.add(objects);
      all.schemaNames += objects.listRef().size() * (memberOf(schema, "schema_name").stringRef().size() + 3);
    }
  }
  return all;
}

bool holdsLineBreak(const CMVariant& value) {
  const auto& list = value.listRef();
  const auto& map = value.mapValue();
  return value.stringRef().find('\n') != std::string::npos || std::any_of(list.begin(), list.end(), holdsLineBreak) ||
         std::any_of(map.begin(), map.end(), [](const auto& member) { return holdsLineBreak(member.second); });
}

std::string instructionsFor(const CMVariant& structure) {
  const Owned<IQAIAssistant> assistant = makeAssistant(OPENAI_v1);
  assign(*assistant, {{"db_structure", structure}});
  return property(*assistant, "combined_instructions").stringValue();
}

}  // namespace

void fuzzStructure(std::string_view input) {
  const Owned<IQAIAssistant> assistant = makeAssistant(OPENAI_v1);
  assign(*assistant, {{"db_structure", std::string(input)}});
  const std::string ddl = property(*assistant, "combined_instructions").stringValue();
  const Statements statements = collect(property(*assistant, "db_structure"));
  expect(ddl == (statements.text.empty() ? "" : statements.text + "\n"), "the text is the list's statements", ddl);
  expect(cfIsUTF8(ddl), "DDL is UTF-8", ddl);

  // An empty object of the longest kind takes 31 bytes for the 23 of its description, an empty primary key 17 for 13;
  // all else takes less than its description. Only a schema's name, given once, is written for each of its objects.
  expect(ddl.size() <= 2 * input.size() + statements.schemaNames + 1, "DDL grows with its description alone", ddl);

  const COJson json(input);
  expect(statements.text == plainDDL(json), "the statements are the description's", ddl);
  const CMVariant description = variantOf(json);
  if (!holdsLineBreak(description)) {
    const std::ptrdiff_t lines = std::count(statements.text.begin(), statements.text.end(), '\n');
    expect(lines == statements.count, "a statement is a line", ddl);
  }
  if (description.getValueType() == CMVariant::ValueType::List) {
    expect(instructionsFor(description) == ddl, "a list gives what its text gives", ddl);
  }
}
