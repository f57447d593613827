// Runs one operation again and again, with memory running out at another allocation each time.
#pragma once

#include <functional>
#include <memory>
#include <string>

/// An operation with all that it needs, made anew for each point.
class Scene {
 public:
  Scene() = default;
  Scene(const Scene&) = delete;
  Scene& operator=(const Scene&) = delete;
  virtual ~Scene() = default;

  /// The operation alone: what it allocates may fail. Keeps what comes of it, in place of what came before.
  virtual void run() = 0;
  /// Whether the last run was told to have succeeded.
  virtual bool succeeded() const { return true; }
  /// What came of it, to be compared with the result of a run that nothing went wrong in.
  virtual std::string result() const { return {}; }
  /// What the operation may change, and must not when it fails.
  virtual std::string state() const { return {}; }
  /// Runs the operation once more after a failure, with memory. Another way where a service keeps what was done.
  virtual void runAgain() { run(); }
  /// What must hold at the end, whatever happened; "" or what does not.
  virtual std::string complaint() const { return {}; }
};

using MakeScene = std::function<std::unique_ptr<Scene>()>;

/// Runs `make`'s operation with memory running out at each point, or at a sample of them. After a failure nothing may
/// be left or changed, and the operation must succeed with memory back. Nothing but std::bad_alloc may leave it.
/// @return the number of points that the operation has.
std::size_t sweep(const std::string& name, const MakeScene& make);
