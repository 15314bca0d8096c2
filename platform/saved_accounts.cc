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

bool SaveSmbAccount(const std::string& host, const Credentials& account) {
  // The table points into these strings: they live until it is gone.
  const std::string protocol = "smb";
  GHashTable* attributes = g_hash_table_new(g_str_hash, g_str_equal);
  const auto set = [attributes](const char* name, const std::string& value) {
    if (!value.empty()) {
      g_hash_table_insert(attributes, const_cast<char*>(name), const_cast<char*>(value.c_str()));
    }
  };
  set("server", host);
  set("protocol", protocol);
  set("user", account.username);
  set("domain", account.domain);
  const std::string label = "smb://" + account.username + "@" + host;
  GError* error = nullptr;
  const bool saved = secret_password_storev_sync(SECRET_SCHEMA_COMPAT_NETWORK, attributes,
                                                 SECRET_COLLECTION_DEFAULT, label.c_str(),
                                                 account.password.c_str(), nullptr, &error);
  g_hash_table_unref(attributes);
  if (error != nullptr) g_error_free(error);
  return saved;
}

}  // namespace parlavox
