// What SQLite does with files, watched.
#pragma once

#include <string>

/// From now on it is a finding when SQLite opens another file than `path`, or that for writing, when it deletes one,
/// and when it loads code. Files of its own that have no name may come and go.
void watchFiles(const std::string& path);
