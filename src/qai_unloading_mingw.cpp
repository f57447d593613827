// What MinGW's C++ runtime leaves behind when a DLL that contains it is unloaded: the memory set aside for exceptions
// that are thrown when there is no other, about 73 KiB for each load.

// In libstdc++'s support library, for tools that look for leaks; in no header of its.
namespace __gnu_cxx {
void __freeres();
}

namespace {

struct Unloading {
  ~Unloading() { __gnu_cxx::__freeres(); }
};
const Unloading unloading;

}  // namespace
