// The DDL of a database's description, made the plainest way: the library's own, which reads in one pass and copies by
// hand, must give the same.
#pragma once

#include <cf/json.h>

#include <string>

std::string plainDDL(const ICOJsonValue& description);
