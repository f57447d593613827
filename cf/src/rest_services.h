// The services behind the app factory.
#pragma once

#include <cf/app.h>

/// Both live as long as the process.
ICSRestClientFactory& obtainClientFactory();
ICSErrorDescriptionService& obtainErrorDescriptions();
