// A host that includes Windows' headers first, with their macros min and max, can include ours. Compiling is the test.
#undef NOMINMAX
#undef WIN32_LEAN_AND_MEAN
#include <windows.h>
// Behind it.
#include <cf/defer.h>
#include <cf/text.h>
#include <cf/url.h>
#include <qai.h>
#include <qai.hpp>
#include <qai_extensions.h>
