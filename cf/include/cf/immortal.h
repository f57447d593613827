/// @file
/// Objects that are there until the process is gone.
#pragma once

#include <cf/language.h>

#include <array>
#include <cstddef>
#include <new>

/// Holds a `Type` that is never destroyed: exit() runs the destructors of static objects while other threads may still
/// be in a call that uses them.
template <typename Type>
class CFImmortal {
 public:
  CFImmortal() { ::new (static_cast<void*>(bytes_.data())) Type(); }
  CFImmortal(const CFImmortal&) = delete;
  CFImmortal& operator=(const CFImmortal&) = delete;

  /// The object.
  Type& get() noexcept { return *std::launder(reinterpret_cast<Type*>(bytes_.data())); }

 private:
  alignas(Type) std::array<std::byte, sizeof(Type)> bytes_;
};
