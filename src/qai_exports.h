// The library-wide state behind the exports, and the translation of the library's own texts.
#pragma once

#include <cf/rest.h>

#include <string>

/// What the host set with QAISetHTTPSettings; every request reads it afresh. Written without a lock.
extern CMRestGlobalSettings& httpSettings;

/// The host's translation of `text`, or `text` itself when there is no callback or it leaves the buffer empty.
std::string localizeString(const std::string& text);
