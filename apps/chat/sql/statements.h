// SQL text as the statements that it holds.
#pragma once

#include <string>
#include <string_view>
#include <vector>

/// The statements of `sql`, each as it stands there, with its semicolon and the comments within and before it, without
/// blanks around it. The body of a trigger stays with it. Left out is what holds nothing to run, the comments behind a
/// semicolon on the same line, and lines between statements that are commands of a shell (".mode box"). Linear time.
std::vector<std::string> splitStatements(std::string_view sql);

/// `statement` without blanks around it; comments and semicolon stay.
std::string tidyStatement(std::string_view statement);

/// Whether there is nothing to run in `sql`: blanks, comments and semicolons.
bool isEmptyStatement(std::string_view sql);
