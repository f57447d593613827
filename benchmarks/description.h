// The texts that the rows about JSON read.
#pragma once

#include <cstddef>
#include <string>

/// A database description, as compact JSON, with 20 columns and two keys for each table.
std::string makeDescription(std::size_t tables);

/// The reply to a request for the list of models.
std::string makeModelList(std::size_t models);

/// 1 KiB of text with line feeds and quotation marks in it.
std::string makeEntry();
