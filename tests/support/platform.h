// What tests need of the operating system; one source file for each.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

/// True in a Windows program that runs under Wine, which lacks some of what Windows does.
bool isWine();
/// True where Schannel makes the secure connections, as on Windows; elsewhere OpenSSL does.
bool usesSchannel();

/// Sets a variable of this process's environment for its own libraries and for programs that it starts; "" removes it
/// on Windows.
void setEnvironment(const std::string& name, const std::string& value);
void unsetEnvironment(const std::string& name);

/// What a program writes to its two outputs. `command` is its path and its arguments, without quotes in them.
std::string outputOf(const std::vector<std::string>& command);

/// The number of files, sockets and the like that the process has open.
std::size_t countDescriptors();

/// Lets a write to what is closed end the process, as in one that never asked for anything else, while it lives. Where
/// no such signal is, nothing.
class DefaultBrokenPipeSignal {
 public:
  DefaultBrokenPipeSignal();
  ~DefaultBrokenPipeSignal();
  DefaultBrokenPipeSignal(const DefaultBrokenPipeSignal&) = delete;
  DefaultBrokenPipeSignal& operator=(const DefaultBrokenPipeSignal&) = delete;

 private:
  void (*before_)(int) = nullptr;
};
