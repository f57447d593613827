// A program that this one starts and talks with in lines.
#pragma once

#include <sys/types.h>

#include <cstdio>
#include <memory>
#include <string>
#include <vector>

class Child {
 public:
  /// `command` is the program's path and its arguments. Throws std::runtime_error when it can't be started.
  explicit Child(std::vector<std::string> command);
  /// Ends the program's input and waits for its end.
  ~Child();
  Child(const Child&) = delete;
  Child& operator=(const Child&) = delete;

  /// Each throws std::runtime_error when the program is gone.
  void writeLine(const std::string& line);
  std::string readLine();

 private:
  struct FileCloser {
    void operator()(std::FILE* file) const noexcept { static_cast<void>(std::fclose(file)); }
  };
  using File = std::unique_ptr<std::FILE, FileCloser>;

  std::string program_;
  pid_t process_ = -1;
  File toChild_;
  File fromChild_;
};
