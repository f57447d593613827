// For hosts that are built without run-time type information: this one file is compiled with it.
#include <qai_extensions.h>

#if !QAI_HAS_RTTI
#error "This file is compiled with run-time type information (-frtti, /GR); the rest of the host need not be"
#endif

IQAIExtensible* qaiFindExtensible(IQAIObject* object) noexcept { return qaiCastToExtensible(object); }
