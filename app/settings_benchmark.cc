// How fast the settings store and the presence pass are on a large office:
// settings.ini with 1000 users, and 1000 inward folders with their records.

#include <benchmark/benchmark.h>

#include <filesystem>

#include "core/user_list.h"
#include "settings/profile_file.h"
#include "share/presence_poller.h"
#include "util/paths.h"
#include "util/scratch_folder_test_util.h"
#include "words/user_record_test_util.h"

namespace parlavox {
namespace {

bool ReadLocalRecord(UserRecord* record, const std::string& folder, std::string*) {
  return ReadUserRecord(record, JoinPath(folder, kUserRecordFileName));
}

constexpr int kUsers = 1000;

// settings.ini as a copy that has polled 1000 users looks, with their folders and
// records on the local disk.
class LargeOffice {
 public:
  LargeOffice() {
    std::string text = "[settings]\nsoundoutdevice=0\nsoundoutvolume=0dB\n[users]\n";
    text += "foldercount=" + std::to_string(kUsers) + "\n";
    for (int i = 0; i < kUsers; ++i) {
      const std::string folder = scratch_ / ("user" + std::to_string(i));
      const UserRecord record =
          MakeUserRecord("Colleague number " + std::to_string(i), 1000 + i, i % 2 == 0);
      PublishUser(folder, record.Name(), record.id, record.is_on());
      text += "folder" + std::to_string(i) + "=" + folder + "\n";
      text += "name" + std::to_string(i) + "=" + record.Name() + "\n";
      text += "on" + std::to_string(i) + "=" + (record.is_on() ? "true" : "false") + "\n";
      text += "id" + std::to_string(i) + "=" + std::to_string(record.id) + "\n";
    }
    WriteFileText(scratch_ / "settings.ini", text);
    settings_.LocateFolders(FolderStore(scratch_ / "u.ini", scratch_ / "m.ini"), scratch_.path());
  }

  SettingsFile& settings() { return settings_; }

  // One office for every benchmark: making its 1000 folders costs seconds.
  static LargeOffice& Shared() {
    static LargeOffice office;
    return office;
  }

 private:
  ScratchFolder scratch_;
  SettingsFile settings_;
};

void BM_ReadValue(benchmark::State& state) {
  LargeOffice& office = LargeOffice::Shared();
  int i = 0;
  for (auto _ : state) {
    benchmark::DoNotOptimize(office.settings().ReadText(kUsersSection, ListKey("name", i)));
    i = (i + 337) % kUsers;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_ReadValue);

void BM_WriteChangedValue(benchmark::State& state) {
  LargeOffice& office = LargeOffice::Shared();
  int i = 0, round = 0;
  for (auto _ : state) {
    office.settings().WriteText(kUsersSection, ListKey("name", i),
                                "Renamed " + std::to_string(round++));
    i = (i + 337) % kUsers;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteChangedValue);

// The poller's most frequent write: an id that is already there.
void BM_WriteUnchangedValue(benchmark::State& state) {
  LargeOffice& office = LargeOffice::Shared();
  int i = 0;
  for (auto _ : state) {
    office.settings().WriteInt(kUsersSection, ListKey("id", i), 1000 + i);
    i = (i + 337) % kUsers;
  }
  state.SetItemsProcessed(state.iterations());
}
BENCHMARK(BM_WriteUnchangedValue);

// One poll of every user when nothing changed, the steady state of an office.
void BM_PresencePass(benchmark::State& state) {
  LargeOffice& office = LargeOffice::Shared();
  UsersCache users(office.settings());
  RefreshPresence(users, ReadLocalRecord);
  for (auto _ : state) benchmark::DoNotOptimize(RefreshPresence(users, ReadLocalRecord));
  state.SetItemsProcessed(state.iterations() * kUsers);
}
BENCHMARK(BM_PresencePass)->Unit(benchmark::kMillisecond);

void BM_UserListRefill(benchmark::State& state) {
  LargeOffice& office = LargeOffice::Shared();
  UsersCache users(office.settings());
  UserList list;
  for (auto _ : state) list.Refill(users);
  state.SetItemsProcessed(state.iterations() * kUsers);
}
BENCHMARK(BM_UserListRefill)->Unit(benchmark::kMillisecond);

}  // namespace
}  // namespace parlavox

BENCHMARK_MAIN();
