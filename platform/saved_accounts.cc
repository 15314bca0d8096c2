#include "platform/saved_accounts.h"

#include <libsecret/secret.h>

namespace parlavox {
namespace {

std::string Attribute(GHashTable* attributes, const char* name) {
  const auto* value = static_cast<const char*>(g_hash_table_lookup(attributes, name));
  return value != nullptr ? value : "";
}

}  // namespace

std::optional<Credentials> FindSavedSmbAccount(const std::string& host) {
  GHashTable* query = g_hash_table_new(g_str_hash, g_str_equal);
  g_hash_table_insert(query, const_cast<char*>("server"), const_cast<char*>(host.c_str()));
  g_hash_table_insert(query, const_cast<char*>("protocol"), const_cast<char*>("smb"));
  GError* error = nullptr;
  GList* items = secret_service_search_sync(nullptr, SECRET_SCHEMA_COMPAT_NETWORK, query,
                                            SECRET_SEARCH_LOAD_SECRETS, nullptr, &error);
  g_hash_table_unref(query);
  if (error != nullptr) g_error_free(error);
  std::optional<Credentials> found;
  for (GList* item = items; item != nullptr && !found; item = item->next) {
    auto* secret_item = static_cast<SecretItem*>(item->data);
    SecretValue* secret = secret_item_get_secret(secret_item);
    GHashTable* attributes = secret_item_get_attributes(secret_item);
    const std::string user = Attribute(attributes, "user");
    if (secret != nullptr && !user.empty()) {
      found = Credentials{user, secret_value_get_text(secret), Attribute(attributes, "domain")};
    }
    g_hash_table_unref(attributes);
    if (secret != nullptr) secret_value_unref(secret);
  }
  g_list_free_full(items, g_object_unref);
  return found;
}

}  // namespace parlavox
