// Texts without what they must not show or keep, saved sessions among them.
#pragma once

#include <string>
#include <vector>

/// What no text may hold: keys and passwords.
using Secrets = std::vector<std::string>;

/// `text` without `secrets`, in whatever form they stand in it.
std::string withoutSecrets(std::string text, const Secrets& secrets);

/// A saved session's text with all texts in it so.
std::string savedWithoutSecrets(const std::string& saved, const Secrets& secrets);

/// The turns of a saved session alone, and so: a saved session without any settings, the address among them, for
/// another service than the one that it is of.
std::string turnsWithoutSecrets(const std::string& saved, const Secrets& secrets);
