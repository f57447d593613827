#include "terminal/key_source_posix.h"

#include "terminal/wide_text_posix.h"

#include <fcntl.h>
#include <poll.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <system_error>

namespace {

// Those of the last three end the process where nothing is done about them.
constexpr std::array kSignals{SIGWINCH, SIGCONT, SIGTERM, SIGHUP, SIGQUIT};

std::atomic<int> watchedPipe = -1;

void say(int pipe, char word) {
  const int earlier = errno;
  static_cast<void>(write(pipe, &word, 1) == 1);  // a full pipe says enough
  errno = earlier;
}

extern "C" void receiveSignal(int signal) { say(watchedPipe, static_cast<char>(signal)); }

}  // namespace

KeySource::KeySource(int descriptor) : descriptor_(descriptor) {
  if (pipe2(pipe_.data(), O_CLOEXEC | O_NONBLOCK) != 0) throw std::system_error(errno, std::generic_category());
}

KeySource::~KeySource() {
  for (const int end : pipe_) close(end);
}

void KeySource::interrupt() const { say(pipe_[1], static_cast<char>(SIGINT)); }

void KeySource::drop() {
  ahead_.clear();
  bytes_.clear();
}

KeyEvent KeySource::takeWord(char word) {
  switch (word) {
    case SIGINT:
      drop();
      return KeyEvent::Interrupted;
    case SIGWINCH:
      return KeyEvent::Resized;
    case SIGCONT:
      return KeyEvent::Resumed;
    default:
      signal_ = static_cast<unsigned char>(word);
      return KeyEvent::Ended;
  }
}

KeyEvent KeySource::wait() {
  constexpr std::size_t kMostAtOnce = 4096;
  std::array<pollfd, 2> sources{pollfd{pipe_[0], POLLIN, 0}, pollfd{descriptor_, POLLIN, 0}};
  for (;;) {
    if (poll(sources.data(), sources.size(), -1) < 0) {
      if (errno != EINTR) return KeyEvent::End;
      continue;
    }
    char word = 0;
    if (::read(pipe_[0], &word, 1) == 1) return takeWord(word);
    if (sources[1].revents == 0) continue;
    bytes_.resize(kMostAtOnce);
    const ssize_t size = ::read(descriptor_, bytes_.data(), bytes_.size());
    bytes_.resize(size > 0 ? static_cast<std::size_t>(size) : 0);
    if (size > 0) return KeyEvent::Character;
    if (size == 0 || (errno != EINTR && errno != EAGAIN)) return KeyEvent::End;
  }
}

KeyEvent KeySource::readByte(char& byte) {
  if (bytes_.empty()) {
    const KeyEvent event = wait();
    if (event != KeyEvent::Character) return event;
  }
  byte = bytes_.front();
  bytes_.erase(0, 1);
  return KeyEvent::Character;
}

KeyEvent KeySource::read(wchar_t& character) {
  if (!ahead_.empty()) {
    character = ahead_.front();
    ahead_.erase(0, 1);
    return KeyEvent::Character;
  }
  char byte = 0;
  KeyEvent event = readByte(byte);
  if (event != KeyEvent::Character) return event;
  std::string whole(1, byte);
  for (std::size_t missing = sizeOfSequence(byte) - 1; missing > 0; --missing) {
    event = readByte(byte);
    if (event != KeyEvent::Character) return event;
    if ((static_cast<unsigned char>(byte) & 0xC0U) != 0x80U) {  // another character begins
      bytes_.insert(bytes_.begin(), byte);
      break;
    }
    whole += byte;
  }
  character = toWide(whole).front();
  return KeyEvent::Character;
}

KeySource::Watch::Watch(const KeySource& source) {
  char stale = 0;
  while (::read(source.pipe_[0], &stale, 1) == 1) continue;
  watchedPipe = source.pipe_[1];
  struct sigaction action {};
  action.sa_handler = receiveSignal;
  action.sa_flags = SA_RESTART;
  sigfillset(&action.sa_mask);
  for (std::size_t i = 0; i < kCount; ++i) {
    sigaction(kSignals.at(i), nullptr, &earlier_.at(i));
    if (earlier_.at(i).sa_handler != SIG_IGN) sigaction(kSignals.at(i), &action, nullptr);
  }
}

KeySource::Watch::~Watch() {
  for (std::size_t i = 0; i < kCount; ++i) sigaction(kSignals.at(i), &earlier_.at(i), nullptr);
}
