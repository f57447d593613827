// Which of a service's models is asked when the user names none.
#pragma once

#include "services/providers.h"

#include <string>
#include <vector>

/// The model to ask among `models`, a list of `provider`'s: the best one of the first of the provider's patterns that
/// fits any. Where `isOtherServer`, nobody knows the names, and the first does that is not known for other work than
/// chat. "" when there is none.
std::string chooseModel(const Provider& provider, const std::vector<std::string>& models, bool isOtherServer);

/// The sentence for the user when there is none: with some of `models`, and what to do.
std::string explainNoChoice(const std::vector<std::string>& models);
