#include "share/samba_threads.h"

#include <dlfcn.h>
#include <libsmbclient.h>
#include <pthread.h>

#include <cerrno>
#include <cstdlib>
#include <string_view>

namespace parlavox {
namespace {

// The table of thread functions that Samba's utility library takes (its
// smb_thread_functions as Samba 4 has it, under the symbol version SAMBA_UTIL_0.0.1),
// in its order.
struct SambaThreadFunctions {
  int (*create_mutex)(const char* name, void** mutex, const char* location);
  void (*destroy_mutex)(void* mutex, const char* location);
  int (*lock_mutex)(void* mutex, int lock_or_unlock, const char* location);
  int (*create_tls)(const char* name, void** key, const char* location);
  void (*destroy_tls)(void** key, const char* location);
  int (*set_tls)(void* key, const void* value, const char* location);
  void* (*get_tls)(void* key, const char* location);
};
constexpr int kUnlock = 2;  // and 1 locks

const SambaThreadFunctions kPosixThreads = {
    [](const char*, void** mutex, const char*) {
      auto* made = static_cast<pthread_mutex_t*>(std::malloc(sizeof(pthread_mutex_t)));
      if (made == nullptr) return ENOMEM;
      pthread_mutex_init(made, nullptr);
      *mutex = made;
      return 0;
    },
    [](void* mutex, const char*) {
      pthread_mutex_destroy(static_cast<pthread_mutex_t*>(mutex));
      std::free(mutex);
    },
    [](void* mutex, int lock_or_unlock, const char*) {
      return lock_or_unlock == kUnlock ? pthread_mutex_unlock(static_cast<pthread_mutex_t*>(mutex))
                                       : pthread_mutex_lock(static_cast<pthread_mutex_t*>(mutex));
    },
    [](const char*, void** key, const char*) {
      auto* made = static_cast<pthread_key_t*>(std::malloc(sizeof(pthread_key_t)));
      if (made == nullptr) return ENOMEM;
      if (const int error = pthread_key_create(made, nullptr); error != 0) {
        std::free(made);
        return error;
      }
      *key = made;
      return 0;
    },
    [](void** key, const char*) {
      if (*key == nullptr) return;
      pthread_key_delete(*static_cast<pthread_key_t*>(*key));
      std::free(*key);
      *key = nullptr;
    },
    [](void* key, const void* value, const char*) {
      return pthread_setspecific(*static_cast<pthread_key_t*>(key), value);
    },
    // Asked before the key is made, as Samba's stack of temporary memory asks once in
    // every thread before it makes its key: nothing is stored under it yet.
    [](void* key, const char*) {
      return key == nullptr ? nullptr : pthread_getspecific(*static_cast<pthread_key_t*>(key));
    },
};

}  // namespace

bool LetSambaRunOnSeveralThreads() {
  static const bool installed = [] {
    // The table has this shape in Samba 4 (an older one had a member more).
    if (!std::string_view(smbc_version()).starts_with("4.")) return false;
    using SetFunctions = int (*)(const SambaThreadFunctions*);
    const auto set =
        reinterpret_cast<SetFunctions>(dlsym(RTLD_DEFAULT, "smb_thread_set_functions"));
    return set != nullptr && set(&kPosixThreads) == 0;
  }();
  return installed;
}

}  // namespace parlavox
