// Every call goes out with a cancellable that a watch cancels when its time is over: the library's
// own calls would wait for a silent service for half a minute each, and for a user without end.
#include "port/linux/linux_secrets.h"

#include <unistd.h>

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

// Cancels what waits after some time, or when the session ends.
class Watch {
 public:
  Watch(int limit_ms, const std::function<std::uint32_t()>& interrupts)
      : cancellable_(g_cancellable_new()), thread_([this, limit_ms, interrupts] {
          Run(std::chrono::milliseconds(limit_ms), interrupts);
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
  void Run(std::chrono::milliseconds limit, const std::function<std::uint32_t()>& interrupts) {
    constexpr std::chrono::milliseconds kTurn(50);
    const auto end = std::chrono::steady_clock::now() + limit;
    const std::uint32_t before = interrupts();
    std::unique_lock lock(mutex_);
    while (!changed_.wait_for(lock, kTurn, [this] { return over_; })) {
      if (std::chrono::steady_clock::now() < end && interrupts() == before) continue;
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
  SecretConnection(std::string profile, const std::function<std::uint32_t()>& interrupts,
                   const SecretLimits& limits)
      : profile_(std::move(profile)), interrupts_(interrupts), limits_(limits) {}

  bool Works() const { return service_ != nullptr && !silent_; }
  void Open();
  SecretsResult Lookup(const SecretAttributes& attributes, std::vector<Secret>& found);
  SecretsResult Store(const std::u16string& label, const Secret& secret);
  SecretsResult Clear(const SecretAttributes& attributes);

 private:
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
  const std::function<std::uint32_t()>& interrupts_;
  const SecretLimits limits_;
  std::unique_ptr<SecretLibrary> library_;
  ObjectPointer<SecretService> service_;
  bool silent_ = false;
  bool asked_ = false;
};

void SecretConnection::Open() {
  if (!HasSessionBus()) return;
  library_ = SecretLibrary::Load(kLibrary);
  if (!library_) return;
  const Watch watch(limits_.answer_ms, interrupts_);
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
  const Watch watch(limits_.answer_ms, interrupts_);
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
  const Watch watch(limits_.prompt_ms, interrupts_);
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
  const Watch watch(limits_.answer_ms, interrupts_);
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
    const Watch watch(limits_.answer_ms, interrupts_);
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
  const Watch watch(asks ? limits_.prompt_ms : limits_.answer_ms, interrupts_);
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
    const Watch watch(limits_.answer_ms, interrupts_);
    Error error;
    if (library_->item_delete(item, watch.get(), error.out()) == 0) result = ResultOf(error);
    if (silent_) return SecretsResult::kNoService;
  }
  return result;
}

LinuxSecrets::LinuxSecrets(const std::string& profile_folder,
                           std::function<std::uint32_t()> interrupts, SecretLimits limits)
    : profile_(profile_folder), interrupts_(std::move(interrupts)), limits_(limits) {}

LinuxSecrets::~LinuxSecrets() = default;

SecretConnection* LinuxSecrets::Connection() {
  if (!connection_) {
    connection_ = std::make_unique<SecretConnection>(profile_, interrupts_, limits_);
    connection_->Open();
  }
  return connection_->Works() ? connection_.get() : nullptr;
}

SecretsResult LinuxSecrets::Lookup(const SecretAttributes& attributes, std::vector<Secret>& found) {
  found.clear();
  SecretConnection* connection = Connection();
  if (connection == nullptr) return SecretsResult::kNoService;
  const SecretsResult result = connection->Lookup(attributes, found);
  if (result != SecretsResult::kDone) found.clear();
  return result;
}

SecretsResult LinuxSecrets::Store(const std::u16string& label, const Secret& secret) {
  SecretConnection* connection = Connection();
  return connection == nullptr ? SecretsResult::kNoService : connection->Store(label, secret);
}

SecretsResult LinuxSecrets::Clear(const SecretAttributes& attributes) {
  SecretConnection* connection = Connection();
  return connection == nullptr ? SecretsResult::kNoService : connection->Clear(attributes);
}

}  // namespace quillet::port
