// SPDX-License-Identifier: GPL-3.0-or-later
#include "port/linux/secret_library.h"

#include <dlfcn.h>

#include "port/linux/bind_call.h"

namespace quillet::port {

std::unique_ptr<SecretLibrary> SecretLibrary::Load(const char* name) {
  // Never unloaded: it registers types for good.
  void* library = dlopen(name, RTLD_NOW | RTLD_LOCAL);
  if (library == nullptr) return nullptr;
  auto calls = std::make_unique<SecretLibrary>();
  const bool complete =
      BindCall(library, "secret_service_get_type", calls->service_get_type) &&
      BindCall(library, "secret_service_open_sync", calls->service_open) &&
      BindCall(library, "secret_service_search_sync", calls->service_search) &&
      BindCall(library, "secret_service_unlock_sync", calls->service_unlock) &&
      BindCall(library, "secret_service_store_sync", calls->service_store) &&
      BindCall(library, "secret_collection_for_alias_sync", calls->collection_for_alias) &&
      BindCall(library, "secret_collection_get_locked", calls->collection_get_locked) &&
      BindCall(library, "secret_item_get_attributes", calls->item_get_attributes) &&
      BindCall(library, "secret_item_get_locked", calls->item_get_locked) &&
      BindCall(library, "secret_item_load_secrets_sync", calls->item_load_secrets) &&
      BindCall(library, "secret_item_get_secret", calls->item_get_secret) &&
      BindCall(library, "secret_item_delete_sync", calls->item_delete) &&
      BindCall(library, "secret_value_new", calls->value_new) &&
      BindCall(library, "secret_value_get", calls->value_get) &&
      BindCall(library, "secret_value_unref", calls->value_unref);
  return complete ? std::move(calls) : nullptr;
}

}  // namespace quillet::port
