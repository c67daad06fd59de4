#include "port/linux/secret_library.h"

#include <dlfcn.h>

namespace quillet::port {
namespace {

template <class Call>
bool Bind(void* library, const char* name, Call& call) {
  call = reinterpret_cast<Call>(dlsym(library, name));
  return call != nullptr;
}

}  // namespace

std::unique_ptr<SecretLibrary> SecretLibrary::Load(const char* name) {
  // Never unloaded: it registers types for good.
  void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  auto calls = std::make_unique<SecretLibrary>();
  const bool complete =
      Bind(library, "secret_service_get_type", calls->service_get_type) &&
      Bind(library, "secret_service_open_sync", calls->service_open) &&
      Bind(library, "secret_service_search_sync", calls->service_search) &&
      Bind(library, "secret_service_unlock_sync", calls->service_unlock) &&
      Bind(library, "secret_service_store_sync", calls->service_store) &&
      Bind(library, "secret_collection_for_alias_sync", calls->collection_for_alias) &&
      Bind(library, "secret_collection_get_locked", calls->collection_get_locked) &&
      Bind(library, "secret_item_get_attributes", calls->item_get_attributes) &&
      Bind(library, "secret_item_get_locked", calls->item_get_locked) &&
      Bind(library, "secret_item_load_secrets_sync", calls->item_load_secrets) &&
      Bind(library, "secret_item_get_secret", calls->item_get_secret) &&
      Bind(library, "secret_item_delete_sync", calls->item_delete) &&
      Bind(library, "secret_value_new", calls->value_new) &&
      Bind(library, "secret_value_get", calls->value_get) &&
      Bind(library, "secret_value_unref", calls->value_unref);
  return complete ? std::move(calls) : nullptr;
}

}  // namespace quillet::port
