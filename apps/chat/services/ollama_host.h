// Where an Ollama server is, as its users write it.
#pragma once

#include <optional>
#include <string>
#include <string_view>

/// The address that `text` means, always with a scheme and, unless `text` is blank, a port. Reads it as Ollama reads
/// its variable OLLAMA_HOST: scheme and port may be missing, blanks and quotes around it don't count, and a port that
/// is none is the default one. Blank is this machine, as is what a server listens on everywhere ("0.0.0.0").
/// Nothing for a scheme other than http and https, and for a user name or password, which the library refuses, too.
std::optional<std::string> readOllamaHost(std::string_view text);
