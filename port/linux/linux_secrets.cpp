// SPDX-License-Identifier: GPL-3.0-or-later
// Every call goes out with a cancellable that a watch cancels when its time is over: the library's
// own calls would wait for a silent service for half a minute each, and for a user without end. And
// all of it runs on a thread that is left alone when even that does not bring it back: the library
// waits for ever when a service ends a prompt with a result of another type than it expects.
#include "port/linux/linux_secrets.h"

#include <unistd.h>

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <cstdlib>
#include <mutex>
#include <thread>
#include <utility>

#include "port/linux/secret_library.h"
#include "util/text.h"

namespace quillet::port {
namespace {

constexpr std::chrono::milliseconds kTurn(50);
// What a cancelled call gets to come back.
constexpr std::chrono::milliseconds kGrace(1000);

constexpr const char* kLibrary = "libsecret-1.so.0";
constexpr const char* kSchemaName = "xdg:schema";
constexpr const char* kSchema = "quillet.NewsServerPassword";
constexpr const char* kProfileName = "profile";

// GLib itself would start a bus of its own where there is none.
bool HasSessionBus() {
  if (const char* address = std::getenv("DBUS_SESSION_BUS_ADDRESS")) return *address != '\0';
  const char* folder = std::getenv("XDG_RUNTIME_DIR");
  return folder != nullptr && access((std::string(folder) + "/bus").c_str(), F_OK) == 0;
}

// Cancels what waits after some time, or when it is told to.
class Watch {
 public:
  Watch(int limit_ms, std::shared_ptr<const std::atomic<bool>> stop)
      : cancellable_(g_cancellable_new()), thread_([this, limit_ms, stop = std::move(stop)] {
          Run(std::chrono::milliseconds(limit_ms), *stop);
        }) {}
  Watch(const Watch&) = delete;
  Watch& operator=(const Watch&) = delete;
  ~Watch() {
    {
      const std::lock_guard lock(mutex_);
      over_ = true;
    }
    changed_.notify_one();
    thread_.join();
  }
  GCancellable* get() const { return cancellable_.get(); }

 private:
  void Run(std::chrono::milliseconds limit, const std::atomic<bool>& stop) {
    const auto end = std::chrono::steady_clock::now() + limit;
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, kTurn, [this] { return over_; })) {
      if (std::chrono::steady_clock::now() < end && !stop) continue;
      lock.unlock();
      g_cancellable_cancel(get());
      return;
    }
  }

  const ObjectPointer<GCancellable> cancellable_;
  std::mutex mutex_;
  std::condition_variable changed_;
  bool over_ = false;
  std::thread thread_;  // last: it uses the rest
};

class Error {
 public:
  Error() = default;
  Error(const Error&) = delete;
  Error& operator=(const Error&) = delete;
  ~Error() { g_clear_error(&error_); }
  GError** out() { return &error_; }
  bool any() const { return error_ != nullptr; }
  // Nobody answers, in contrast to an answer that is a refusal.
  bool IsSilence() const {
    if (error_->domain == G_IO_ERROR) return error_->code != G_IO_ERROR_DBUS_ERROR;
    return error_->domain == G_DBUS_ERROR;
  }

 private:
  GError* error_ = nullptr;
};

void SetText(const TextTable& table, std::string_view name, std::string_view text) {
  g_hash_table_replace(table.get(), g_strndup(name.data(), name.size()),
                       g_strndup(text.data(), text.size()));
}

SecretAttributes AttributesOf(GHashTable* table) {
  SecretAttributes attributes;
  GHashTableIter iterator;
  gpointer name = nullptr;
  gpointer text = nullptr;
  g_hash_table_iter_init(&iterator, table);
  while (g_hash_table_iter_next(&iterator, &name, &text) != 0) {
    const std::string key = static_cast<const char*>(name);
    if (key == kSchemaName || key == kProfileName) continue;
    attributes[key] = FromUtf8(static_cast<const char*>(text));
  }
  return attributes;
}

}  // namespace

class SecretConnection {
 public:
  SecretConnection(std::string profile, const SecretLimits& limits)
      : profile_(std::move(profile)), limits_(limits) {}

  // Opens it when it is new. False when there is no service.
  bool Works();
  // Ends what waits, and all that would wait later. Any thread.
  void Stop() { *stop_ = true; }
  SecretsResult Lookup(const SecretAttributes& attributes, std::vector<Secret>& found);
  SecretsResult Store(const std::u16string& label, const Secret& secret);
  SecretsResult Clear(const SecretAttributes& attributes);

 private:
  void Open();
  // A table that belongs to this profile.
  TextTable TableOf(const SecretAttributes& attributes) const;
  // What a call that has set `error` comes to.
  SecretsResult ResultOf(const Error& error);
  SecretsResult Search(const SecretAttributes& attributes, ObjectList& items);
  bool AnyLocked(const ObjectList& items) const;
  // Asks the user, who is asked once.
  SecretsResult Unlock(GList* objects);
  SecretsResult UnlockDefaultCollection();

  const std::string profile_;
  const SecretLimits limits_;
  const std::shared_ptr<std::atomic<bool>> stop_ = std::make_shared<std::atomic<bool>>(false);
  bool opened_ = false;
  std::unique_ptr<SecretLibrary> library_;
  ObjectPointer<SecretService> service_;
  bool silent_ = false;
  bool asked_ = false;
};

bool SecretConnection::Works() {
  if (!std::exchange(opened_, true)) Open();
  return service_ != nullptr && !silent_;
}

void SecretConnection::Open() {
  if (!HasSessionBus()) return;
  library_ = SecretLibrary::Load(kLibrary);
  if (!library_) return;
  const Watch watch(limits_.answer_ms, stop_);
  const ObjectPointer<GDBusConnection> bus(
      g_bus_get_sync(G_BUS_TYPE_SESSION, watch.get(), nullptr));
  if (!bus) return;
  // Else the end of the bus would be a signal to this process.
  g_dbus_connection_set_exit_on_close(bus.get(), FALSE);
  service_.reset(library_->service_open(library_->service_get_type(), nullptr,
                                        SECRET_SERVICE_OPEN_SESSION, watch.get(), nullptr));
}

TextTable SecretConnection::TableOf(const SecretAttributes& attributes) const {
  TextTable table(g_hash_table_new_full(g_str_hash, g_str_equal, g_free, g_free));
  for (const auto& [name, text] : attributes) SetText(table, name, ToUtf8(text));
  SetText(table, kSchemaName, kSchema);
  SetText(table, kProfileName, profile_);
  return table;
}

SecretsResult SecretConnection::ResultOf(const Error& error) {
  if (!error.any()) return SecretsResult::kDone;
  if (!error.IsSilence()) return SecretsResult::kRefused;
  silent_ = true;
  return SecretsResult::kNoService;
}

SecretsResult SecretConnection::Search(const SecretAttributes& attributes, ObjectList& items) {
  const TextTable table = TableOf(attributes);
  const Watch watch(limits_.answer_ms, stop_);
  Error error;
  items.reset(library_->service_search(service_.get(), nullptr, table.get(), SECRET_SEARCH_ALL,
                                       watch.get(), error.out()));
  if (error.any()) return ResultOf(error);
  return items ? SecretsResult::kDone : SecretsResult::kNothing;
}

bool SecretConnection::AnyLocked(const ObjectList& items) const {
  for (GList* item = items.get(); item != nullptr; item = item->next) {
    if (library_->item_get_locked(static_cast<SecretItem*>(item->data)) != 0) return true;
  }
  return false;
}

SecretsResult SecretConnection::Unlock(GList* objects) {
  if (asked_) return SecretsResult::kRefused;
  asked_ = true;
  const Watch watch(limits_.prompt_ms, stop_);
  Error error;
  const gint unlocked =
      library_->service_unlock(service_.get(), objects, watch.get(), nullptr, error.out());
  // A user who does not answer is no silent service.
  if (error.any()) return SecretsResult::kRefused;
  return unlocked == static_cast<gint>(g_list_length(objects)) ? SecretsResult::kDone
                                                               : SecretsResult::kRefused;
}

SecretsResult SecretConnection::Lookup(const SecretAttributes& attributes,
                                       std::vector<Secret>& found) {
  ObjectList items;
  SecretsResult result = Search(attributes, items);
  if (result == SecretsResult::kDone && AnyLocked(items)) {
    result = Unlock(items.get());
    if (result == SecretsResult::kDone) result = Search(attributes, items);
  }
  if (result != SecretsResult::kDone) return result;
  const Watch watch(limits_.answer_ms, stop_);
  Error error;
  library_->item_load_secrets(items.get(), watch.get(), error.out());
  if (error.any()) return ResultOf(error);
  for (GList* at = items.get(); at != nullptr; at = at->next) {
    auto* item = static_cast<SecretItem*>(at->data);
    SecretValue* value = library_->item_get_secret(item);
    if (value == nullptr) return SecretsResult::kRefused;
    gsize length = 0;
    const char* text = library_->value_get(value, &length);
    const TextTable table(library_->item_get_attributes(item));
    found.push_back({AttributesOf(table.get()), FromUtf8({text, length})});
    library_->value_unref(value);
  }
  return SecretsResult::kDone;
}

// None at all is made by storing, which asks the user for its password.
SecretsResult SecretConnection::UnlockDefaultCollection() {
  ObjectPointer<SecretCollection> collection;
  {
    const Watch watch(limits_.answer_ms, stop_);
    Error error;
    collection.reset(library_->collection_for_alias(service_.get(), SECRET_COLLECTION_DEFAULT,
                                                    SECRET_COLLECTION_NONE, watch.get(),
                                                    error.out()));
    if (error.any()) return ResultOf(error);
  }
  if (!collection) {
    return std::exchange(asked_, true) ? SecretsResult::kRefused : SecretsResult::kNothing;
  }
  if (library_->collection_get_locked(collection.get()) == 0) return SecretsResult::kDone;
  GList object = {collection.get(), nullptr, nullptr};
  return Unlock(&object);
}

SecretsResult SecretConnection::Store(const std::u16string& label, const Secret& secret) {
  const SecretsResult open = UnlockDefaultCollection();
  if (open == SecretsResult::kRefused || open == SecretsResult::kNoService) return open;
  const bool asks = open == SecretsResult::kNothing;
  const Watch watch(asks ? limits_.prompt_ms : limits_.answer_ms, stop_);
  const TextTable table = TableOf(secret.attributes);
  const std::string text = ToUtf8(secret.text);
  SecretValue* value =
      library_->value_new(text.data(), static_cast<gssize>(text.size()), "text/plain");
  Error error;
  const gboolean stored =
      library_->service_store(service_.get(), nullptr, table.get(), SECRET_COLLECTION_DEFAULT,
                              ToUtf8(label).c_str(), value, watch.get(), error.out());
  library_->value_unref(value);
  if (error.any()) return asks ? SecretsResult::kRefused : ResultOf(error);
  return stored != 0 ? SecretsResult::kDone : SecretsResult::kRefused;
}

SecretsResult SecretConnection::Clear(const SecretAttributes& attributes) {
  ObjectList items;
  SecretsResult result = Search(attributes, items);
  if (result != SecretsResult::kDone) return result;
  for (GList* at = items.get(); at != nullptr; at = at->next) {
    auto* item = static_cast<SecretItem*>(at->data);
    if (library_->item_get_locked(item) != 0) {
      result = SecretsResult::kRefused;
      continue;
    }
    const Watch watch(limits_.answer_ms, stop_);
    Error error;
    if (library_->item_delete(item, watch.get(), error.out()) == 0) result = ResultOf(error);
    if (silent_) return SecretsResult::kNoService;
  }
  return result;
}

// What one call comes to, shared with the thread that does it.
struct LinuxSecrets::Job {
  std::mutex mutex;
  std::condition_variable changed;
  bool done = false;
  SecretsResult result = SecretsResult::kNoService;
  std::vector<Secret> found;
};

LinuxSecrets::LinuxSecrets(const std::string& profile_folder,
                           std::function<std::uint32_t()> interrupts, SecretLimits limits)
    : interrupts_(std::move(interrupts)),
      limits_(limits),
      connection_(std::make_shared<SecretConnection>(profile_folder, limits)) {}

LinuxSecrets::~LinuxSecrets() = default;

// False when the work does not come back.
bool LinuxSecrets::Await(Job& job) const {
  // One prompt, and the calls around it.
  auto end = std::chrono::steady_clock::now() + kGrace +
             std::chrono::milliseconds(limits_.prompt_ms) +
             4 * std::chrono::milliseconds(limits_.answer_ms);
  const std::uint32_t before = interrupts_();
  bool stopped = false;
  std::unique_lock lock(job.mutex);
  while (!job.changed.wait_for(lock, kTurn, [&job] { return job.done; })) {
    if (!stopped && interrupts_() != before) {
      connection_->Stop();
      stopped = true;
      end = std::chrono::steady_clock::now() + kGrace;
    }
    if (std::chrono::steady_clock::now() > end) return false;
  }
  return true;
}

SecretsResult LinuxSecrets::Do(const Work& work, std::vector<Secret>* found) {
  if (!connection_) return SecretsResult::kNoService;
  const auto job = std::make_shared<Job>();
  std::thread thread([job, work, connection = connection_] {
    std::vector<Secret> secrets;
    const SecretsResult result =
        connection->Works() ? work(*connection, secrets) : SecretsResult::kNoService;
    const std::lock_guard lock(job->mutex);
    job->result = result;
    job->found = std::move(secrets);
    job->done = true;
    job->changed.notify_one();
  });
  if (!Await(*job)) {
    connection_->Stop();
    connection_.reset();
    thread.detach();
    return SecretsResult::kNoService;
  }
  thread.join();
  if (found != nullptr && job->result == SecretsResult::kDone) *found = std::move(job->found);
  return job->result;
}

SecretsResult LinuxSecrets::Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) {
  found.clear();
  return Do(
      [attributes](SecretConnection& connection, std::vector<Secret>& secrets) {
        return connection.Lookup(attributes, secrets);
      },
      &found);
}

SecretsResult LinuxSecrets::Store(const std::u16string& label, const Secret& secret) {
  return Do([label, secret](SecretConnection& connection, std::vector<Secret>& /*none*/) {
    return connection.Store(label, secret);
  });
}

SecretsResult LinuxSecrets::Clear(const SecretAttributes& attributes) {
  return Do([attributes](SecretConnection& connection, std::vector<Secret>& /*none*/) {
    return connection.Clear(attributes);
  });
}

}  // namespace quillet::port
