// Variants made of JSON.
#pragma once

#include <cf/json.h>
#include <cf/variant.h>

/// Strings, numbers, arrays and objects as variants of the like, of an object's equal keys the last; else Null.
CMVariant variantOf(const ICOJsonValue& value);
