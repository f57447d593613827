// The layout of QAIStreamOptions, which is the same under every ABI. A field at its end gets its place here.
#pragma once

#include <qai_extensions.h>

#include <cstddef>

static_assert(offsetof(QAIStreamOptions, size) == 0 && sizeof(QAIStreamOptions::size) == 4 &&
                  offsetof(QAIStreamOptions, asksForUsage) == 4 && sizeof(QAIStreamOptions::asksForUsage) == 1 &&
                  offsetof(QAIStreamOptions, idleTimeout) == 8 && sizeof(QAIStreamOptions::idleTimeout) == 8 &&
                  offsetof(QAIStreamOptions, totalTimeout) == 16 && sizeof(QAIStreamOptions::totalTimeout) == 8 &&
                  offsetof(QAIStreamOptions, mostTextBytes) == 24 && sizeof(QAIStreamOptions::mostTextBytes) == 8 &&
                  offsetof(QAIStreamOptions, stop) == 32 && sizeof(QAIStreamOptions::stop) == 8 &&
                  sizeof(QAIStreamOptions) == 40,
              "Hosts built earlier fill in QAIStreamOptions as it was: a field may come at its end alone");

/// One in what lies unused between the fields would move none of them, and hosts built earlier would leave it as it is.
inline void nameEveryField(const QAIStreamOptions& options) {
  [[maybe_unused]] const auto& [size, asksForUsage, idleTimeout, totalTimeout, mostTextBytes, stop] = options;
}
