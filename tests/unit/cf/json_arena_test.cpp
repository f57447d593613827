// The memory that a JSON document's values lie in.
#include "json_arena.h"

#include <gtest/gtest.h>

#include <cstddef>
#include <cstdint>

namespace {

TEST(JsonArena, GivesEachThingAPlaceThatSuitsIt) {
  JsonArena arena(512);
  for (std::size_t size = 0; size < 100; ++size) {  // in several chunks
    arena.allocate<char>(size);
    EXPECT_EQ(reinterpret_cast<std::uintptr_t>(arena.allocate<double>(1)) % alignof(double), 0U) << size;
  }
}

}  // namespace
