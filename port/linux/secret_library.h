// SPDX-License-Identifier: GPL-3.0-or-later
// The calls of libsecret that are needed, bound at run time; what of GLib they take and give.
#pragma once

#include <gio/gio.h>
#include <libsecret/secret.h>

#include <memory>

namespace quillet::port {

class SecretLibrary {
 public:
  // Null when there is no such library, or it lacks a call.
  static std::unique_ptr<SecretLibrary> Load(const char* name);

  decltype(&secret_service_get_type) service_get_type = nullptr;
  decltype(&secret_service_open_sync) service_open = nullptr;
  decltype(&secret_service_search_sync) service_search = nullptr;
  decltype(&secret_service_unlock_sync) service_unlock = nullptr;
  decltype(&secret_service_store_sync) service_store = nullptr;
  decltype(&secret_collection_for_alias_sync) collection_for_alias = nullptr;
  decltype(&secret_collection_get_locked) collection_get_locked = nullptr;
  decltype(&secret_item_get_attributes) item_get_attributes = nullptr;
  decltype(&secret_item_get_locked) item_get_locked = nullptr;
  decltype(&secret_item_load_secrets_sync) item_load_secrets = nullptr;
  decltype(&secret_item_get_secret) item_get_secret = nullptr;
  decltype(&secret_item_delete_sync) item_delete = nullptr;
  decltype(&secret_value_new) value_new = nullptr;
  decltype(&secret_value_get) value_get = nullptr;
  decltype(&secret_value_unref) value_unref = nullptr;
};

struct ObjectRelease {
  void operator()(void* object) const { g_object_unref(object); }
};
template <class Object>
using ObjectPointer = std::unique_ptr<Object, ObjectRelease>;

struct ObjectListRelease {
  void operator()(GList* list) const { g_list_free_full(list, g_object_unref); }
};
using ObjectList = std::unique_ptr<GList, ObjectListRelease>;

struct TableRelease {
  void operator()(GHashTable* table) const { g_hash_table_unref(table); }
};
using TextTable = std::unique_ptr<GHashTable, TableRelease>;

}  // namespace quillet::port
