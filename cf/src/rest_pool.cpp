#include "rest_pool.h"

#include "rest_system.h"

#include <cf/app.h>

#include <chrono>
#include <cstdint>
#include <new>

namespace {

using std::chrono::steady_clock;

// cancel() wakes the wait up; this is for the request that runs beside the pool's own, which no wake-up reaches, and
// for a receiver that stops.
constexpr int kLongestWaitMilliseconds = 500;

// More than libcurl and what it calls take when they are made ready. OpenSSL tries that once: where memory runs out
// meanwhile, the process can make no secure connection any more, or crashes at the first. So it is tried with memory.
constexpr std::size_t kNeededAtFirst = std::size_t{2} << 20;

// Never undone: other parts of the process may be using libcurl.
void initialiseLibrary() {
  static const bool initialised = [] {
    ::operator delete(::operator new(kNeededAtFirst));
    if (curl_global_init(CURL_GLOBAL_DEFAULT) != CURLE_OK) throw std::bad_alloc();
    stayLoaded();
    return true;
  }();
  static_cast<void>(initialised);
}

CURLcode obtainVerdict(CURLM* multi) {
  int remaining = 0;
  const CURLMsg* message = curl_multi_info_read(multi, &remaining);
  return message != nullptr && message->msg == CURLMSG_DONE ? message->data.result : CURLE_FAILED_INIT;
}

curl_off_t obtainNumber(CURL* easy, CURLINFO info) {
  curl_off_t number = 0;
  curl_easy_getinfo(easy, info, &number);
  return number;
}

// Of a line libcurl tells only when it is whole; that the first one has begun, it tells by the time.
bool isComing(CURL* easy, const RestReply& reply) {
  if (reply.headerBytes != 0) return reply.isComing;
  return obtainNumber(easy, CURLINFO_STARTTRANSFER_TIME_T) != 0;
}

std::uint64_t countReceived(CURL* easy, const RestReply& reply) {
  return reply.headerBytes + static_cast<std::uint64_t>(obtainNumber(easy, CURLINFO_SIZE_DOWNLOAD_T));
}

// A request that is still being sent is not silent.
std::uint64_t countMoved(CURL* easy, const RestReply& reply) {
  return countReceived(easy, reply) + static_cast<std::uint64_t>(obtainNumber(easy, CURLINFO_SIZE_UPLOAD_T));
}

CURLcode toCode(CURLMcode code) { return code == CURLM_OUT_OF_MEMORY ? CURLE_OUT_OF_MEMORY : CURLE_FAILED_INIT; }

}  // namespace

RestTransport::RestTransport() {
  initialiseLibrary();
  share_.reset(curl_share_init());
  multi_.reset(curl_multi_init());
  if (share_ == nullptr || multi_ == nullptr ||
      curl_share_setopt(share_.get(), CURLSHOPT_SHARE, CURL_LOCK_DATA_SSL_SESSION) != CURLSHE_OK) {
    throw std::bad_alloc();
  }
}

EasyHandle RestTransport::makeEasy() {
  EasyHandle easy(curl_easy_init());
  if (easy == nullptr || curl_easy_setopt(easy.get(), CURLOPT_SHARE, share_.get()) != CURLE_OK ||
      curl_easy_setopt(easy.get(), CURLOPT_SOCKOPTFUNCTION, &RestTransport::openSocket) != CURLE_OK ||
      curl_easy_setopt(easy.get(), CURLOPT_CLOSESOCKETFUNCTION, &RestTransport::closeSocket) != CURLE_OK ||
      curl_easy_setopt(easy.get(), CURLOPT_RESOLVER_START_FUNCTION, &RestTransport::beginLookUp) != CURLE_OK ||
      curl_easy_setopt(easy.get(), CURLOPT_PREREQFUNCTION, &RestTransport::beginSending) != CURLE_OK) {
    throw std::bad_alloc();
  }
  for (const CURLoption option :
       {CURLOPT_SOCKOPTDATA, CURLOPT_CLOSESOCKETDATA, CURLOPT_RESOLVER_START_DATA, CURLOPT_PREREQDATA}) {
    if (curl_easy_setopt(easy.get(), option, this) != CURLE_OK) throw std::bad_alloc();
  }
  return easy;
}

int RestTransport::beginLookUp(void* /*state*/, void* /*reserved*/, void* transport) noexcept {
  return static_cast<RestTransport*>(transport)->sending_.mayConnect() ? 0 : 1;
}

int RestTransport::beginSending(void* transport, char* /*remote*/, char* /*local*/, int /*remotePort*/,
                                int /*localPort*/) noexcept {
  const bool may = static_cast<RestTransport*>(transport)->sending_.maySend();
  return may ? CURL_PREREQFUNC_OK : CURL_PREREQFUNC_ABORT;
}

int RestTransport::openSocket(void* transport, curl_socket_t socket, curlsocktype /*purpose*/) noexcept {
  auto& self = *static_cast<RestTransport*>(transport);
  if (!self.sending_.mayConnect()) return CURL_SOCKOPT_ERROR;
  try {
    self.sockets_.push_back(socket);
  } catch (...) {
    return CURL_SOCKOPT_ERROR;
  }
  return prepareRestSocket(socket) ? CURL_SOCKOPT_OK : CURL_SOCKOPT_ERROR;
}

int RestTransport::closeSocket(void* transport, curl_socket_t socket) noexcept {
  std::erase(static_cast<RestTransport*>(transport)->sockets_, socket);
  return closeRestSocket(socket);
}

void RestTransport::avoidEnded(CURL* easy) noexcept {
  bool mayBeTaken = false;
  for (const curl_socket_t socket : sockets_) mayBeTaken = endWhenUnasked(socket) || mayBeTaken;
  // Another connection is made then, and for it the oldest of those that are kept goes. So does the handle.
  curl_multi_setopt(multi_.get(), CURLMOPT_MAXCONNECTS, mayBeTaken ? 1L : 0L);
  if (mayBeTaken) curl_easy_setopt(easy, CURLOPT_FRESH_CONNECT, 1L);
}

void RestPool::cancel() noexcept {
  cancelled_ = true;
  curl_multi_wakeup(transport_.getMulti());
}

std::unique_ptr<RestSetup> RestTransport::takeKept(const RestOrder& order) {
  return kept_ != nullptr && kept_->recipe.describes(order) ? std::move(kept_) : nullptr;
}

RestTransfer::RestTransfer(RestPool* pool)
    : pool_(pool), transport_(pool == nullptr ? nullptr : pool->borrowTransport()) {
  if (transport_ != nullptr) lender_.reset(pool);
}

RestTransfer::~RestTransfer() {
  if (setup_ != nullptr) curl_multi_remove_handle(transport_->getMulti(), getEasy());
}

bool RestTransfer::takeKept(const RestOrder& order) {
  if (transport_ != nullptr) setup_ = transport_->takeKept(order);
  isKept_ = setup_ != nullptr;
  return isKept_;
}

void RestTransfer::use(std::unique_ptr<RestSetup> setup) {
  if (transport_ == nullptr) {
    own_ = std::make_unique<RestTransport>();
    transport_ = own_.get();
  }
  setup->easy = transport_->makeEasy();
  setup_ = std::move(setup);
}

CURLcode RestTransfer::apply(const RestOrder& order, RestReply& reply) {
  const CURLcode code = isKept_ ? CURLE_OK : applyPlan(getEasy(), getPlan(), order.settings);
  return code == CURLE_OK ? applyTransfer(getEasy(), getPlan(), order.body, reply) : code;
}

void RestTransfer::keep() noexcept {
  // libcurl counts the connections that it found dead over the life of a handle and fails at the sixth, however many
  // requests went well in between. So a handle goes when it had to connect.
  long connects = 0;
  if (lender_ == nullptr || curl_easy_getinfo(getEasy(), CURLINFO_NUM_CONNECTS, &connects) != CURLE_OK || connects != 0)
    return;
  if (curl_multi_remove_handle(transport_->getMulti(), getEasy()) != CURLM_OK) return;
  if (forgetTransfer(getEasy(), getPlan()) == CURLE_OK) transport_->keep(std::move(setup_));
}

std::optional<CURLcode> RestTransfer::run(RestPace pace, RestReply& reply, ICSRestReceiver* receiver) {
  CURLM* multi = transport_->getMulti();
  transport_->avoidEnded(getEasy());
  transport_->getSending().begin(getEasy());
  CURLMcode code = curl_multi_add_handle(multi, getEasy());
  for (int running = 1; code == CURLM_OK;) {
    if (pool_ != nullptr && pool_->takeCancel()) return std::nullopt;
    reply.isRefused = receiver != nullptr && receiver->isStopped();
    if (reply.isRefused) return CURLE_ABORTED_BY_CALLBACK;
    code = curl_multi_perform(multi, &running);
    reply.stopped = transport_->getSending().isStopped();
    if (code == CURLM_OK && running == 0) return obtainVerdict(multi);
    const std::uint64_t bytes = receiver == nullptr ? countReceived(getEasy(), reply) : countMoved(getEasy(), reply);
    reply.tooSlow = pace.isTooSlow(isComing(getEasy(), reply), bytes, steady_clock::now());
    if (reply.tooSlow) return CURLE_OPERATION_TIMEDOUT;
    if (code == CURLM_OK) code = curl_multi_poll(multi, nullptr, 0, kLongestWaitMilliseconds, nullptr);
  }
  return toCode(code);
}

ICSHTTPPoolCenter* CF::createHTTPPoolCenter() { return new RestPool(); }
