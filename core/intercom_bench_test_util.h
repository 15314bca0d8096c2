#ifndef PARLAVOX_CORE_INTERCOM_BENCH_TEST_UTIL_H_
#define PARLAVOX_CORE_INTERCOM_BENCH_TEST_UTIL_H_

#include <gtest/gtest.h>

#include "core/intercom.h"
#include "core/intercom_fakes_test_util.h"
#include "settings/scratch_settings_test_util.h"
#include "util/fake_clock_test_util.h"

namespace parlavox {

// A whole intercom on fakes, with a real settings.ini and own inward folder in a
// scratch folder. Time moves only with clock_.Advance.
class IntercomBench : public ScratchSettingsTest {
 protected:
  IntercomBench() { std::filesystem::create_directories(settings_.inward_folder()); }

  // Lists a user with the folder "/srv/<name>" and caches their id; publishes their
  // record there unless `reachable` is false.
  void ListUser(const char* name, int32_t id, bool on = true, bool reachable = true) {
    const std::string folder = std::string("/srv/") + name;
    users_.AddFolder(folder);
    const int index = users_.Count() - 1;
    users_.SetId(index, id);
    users_.SetName(index, name);
    users_.SetOn(index, on);
    if (reachable) share_.Publish(folder, name, id, on);
  }

  // A message from `caller` of `seconds` of sound at `rate`.
  std::shared_ptr<MemoryReader> Message(int32_t caller, double seconds = 1, int32_t rate = 11025) {
    auto reader = std::make_shared<MemoryReader>(rate, int64_t(seconds * rate));
    folder_.Add(std::to_string(caller) + ".wav", reader);
    return reader;
  }

  // Starts the intercom and lets the first presence pass arrive.
  void Start() {
    intercom_.Start();
    poller_.changed({});
  }

  // Calls through `start` and returns what the call said, when it said it at once.
  template <typename Start>
  std::optional<CallRefusal> Call(Start start) {
    std::optional<CallRefusal> outcome;
    start([&](CallRefusal refusal) { outcome = refusal; });
    return outcome;
  }

  UsersCache users_{settings_};
  FakeClock clock_;
  FakePlayer player_;
  FakeRecorder recorder_;
  FakeMixer mixer_;
  FakePriority priority_;
  FakeInboxFolder folder_;
  DiskRecordStore records_;
  FakeShare share_;
  FakeWatcher watcher_;
  FakePoller poller_;
  RecordingView view_;
  FanOutView views_{{&view_}};  // a test may show the intercom on a view of its own too
  Intercom intercom_{
      settings_,
      {clock_, player_, recorder_, mixer_, priority_, folder_, records_, share_, watcher_, poller_},
      views_,
      {"first idle", "second idle"}};
};

}  // namespace parlavox

#endif  // PARLAVOX_CORE_INTERCOM_BENCH_TEST_UTIL_H_
