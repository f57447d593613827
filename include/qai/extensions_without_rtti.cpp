// For hosts that are built without run-time type information: this one file is compiled with it.
#include <qai_extensions.h>

IQAIExtensible* qaiFindExtensible(IQAIObject* object) noexcept { return qaiCastToExtensible(object); }
