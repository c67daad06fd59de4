// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/host_lookup.h"

#include <netdb.h>
#include <poll.h>
#include <sys/eventfd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <memory>
#include <system_error>
#include <thread>
#include <utility>

#include "port/linux/file_descriptor.h"
#include "port/linux/socket_tools.h"

namespace quillet::port {
namespace {

// No server has so many; who answers with more does not keep the user waiting for them.
constexpr std::size_t kMostAddresses = 32;

// What the lookup thread and its waiter share; the last one to leave frees it.
struct PendingLookup {
  std::string host;
  HostLookup lookup;
  std::vector<Address> addresses;
  std::atomic<int> error{-1};  // set last
  FileDescriptor done;
};

void RunLookup(const std::shared_ptr<PendingLookup>& pending) {
  pending->error = pending->lookup(pending->host, pending->addresses);
  eventfd_write(pending->done.get(), 1);
}

}  // namespace

int LookUpHost(const std::string& host, std::vector<Address>& addresses) {
  addrinfo hints{};
  hints.ai_family = AF_UNSPEC;
  hints.ai_socktype = SOCK_STREAM;
  addrinfo* found = nullptr;
  const int error = getaddrinfo(host.c_str(), nullptr, &hints, &found);
  if (error == EAI_SYSTEM && errno != 0) return errno;
  if (error == EAI_MEMORY) return ENOMEM;
  if (error != 0) return kErrorHostNotFound;
  const std::unique_ptr<addrinfo, void (*)(addrinfo*)> owner(found, freeaddrinfo);
  for (const addrinfo* entry = found; entry != nullptr; entry = entry->ai_next) {
    Address address;
    if (addresses.size() == kMostAddresses) break;
    if (!FromNative(*entry->ai_addr, entry->ai_addrlen, address)) continue;
    if (std::ranges::find(addresses, address) == addresses.end()) addresses.push_back(address);
  }
  return addresses.empty() ? kErrorHostNotFound : 0;
}

int LookUpUnlessInterrupted(const HostLookup& lookup, const std::string& host, int interrupt_fd,
                            std::vector<Address>& addresses) {
  FileDescriptor done(eventfd(0, EFD_CLOEXEC));
  if (!done.valid()) return errno;
  const auto pending = std::make_shared<PendingLookup>();
  pending->host = host;
  pending->lookup = lookup;
  pending->done = std::move(done);
  try {
    std::thread([pending] { RunLookup(pending); }).detach();
  } catch (const std::system_error&) {
    return ENOMEM;
  }
  if (WaitFor(pending->done.get(), POLLIN, interrupt_fd) != WaitEnd::kReady) return ECANCELED;
  const int error = pending->error;
  if (error == 0) addresses = std::move(pending->addresses);
  return error;
}

}  // namespace quillet::port
