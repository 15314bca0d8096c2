#ifndef PARLAVOX_PLATFORM_SAVED_ACCOUNTS_H_
#define PARLAVOX_PLATFORM_SAVED_ACCOUNTS_H_

#include <optional>
#include <string>

#include "words/credentials.h"

namespace parlavox {

// The account the desktop's secret store (the Secret Service: GNOME Keyring, KWallet)
// keeps for SMB on `host`, as the file manager saves it when asked to remember a
// password (schema "org.gnome.keyring.NetworkPassword", protocol "smb"). Only unlocked
// items are read: nothing asks the person to unlock a store. nullopt when there is none
// or no store runs.
std::optional<Credentials> FindSavedSmbAccount(const std::string& host);

// Saves `account` for SMB on `host` in the secret store's default collection, where
// FindSavedSmbAccount and the file manager find it. False when no store took it.
bool SaveSmbAccount(const std::string& host, const Credentials& account);

}  // namespace parlavox

#endif  // PARLAVOX_PLATFORM_SAVED_ACCOUNTS_H_
