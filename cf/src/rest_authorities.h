// The certificate authorities that the system trusts; one source file for each system.
#pragma once

/// The system's folder of authorities, one file for each under the hash of its name, as libcurl was built to look for
/// it; null when the system has none.
const char* obtainAuthoritiesFolder() noexcept;
