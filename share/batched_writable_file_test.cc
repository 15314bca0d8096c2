#include "share/batched_writable_file.h"

#include <vector>

#include <gtest/gtest.h>

namespace parlavox {
namespace {

// Remembers every call that reaches it, as "write <offset> <size>", "resize <size>", ...
class CallLog : public WritableFile {
 public:
  explicit CallLog(std::vector<std::string>& calls, bool* fail) : calls_(calls), fail_(fail) {}
  bool WriteAt(const void*, size_t size, int64_t offset) override {
    calls_.push_back("write " + std::to_string(offset) + " " + std::to_string(size));
    return !*fail_;
  }
  bool Resize(int64_t size) override {
    calls_.push_back("resize " + std::to_string(size));
    return true;
  }
  bool SendOn() override {
    calls_.push_back("send");
    return true;
  }
  bool Close() override {
    calls_.push_back("close");
    return true;
  }

 private:
  std::vector<std::string>& calls_;
  bool* fail_;
};

TEST(BatchedWritableFileTest, BlocksThatFollowOneAnotherGoAsOneWriteAndOthersPassThemOn) {
  std::vector<std::string> calls;
  bool fail = false;
  BatchedWritableFile file(std::make_unique<CallLog>(calls, &fail), 1000);
  const std::string block(400, 'x');
  EXPECT_TRUE(file.WriteAt(block.data(), 46, 0));  // a header, then the start of the sound
  EXPECT_TRUE(file.Resize(46));
  for (int i = 0; i < 5; ++i) EXPECT_TRUE(file.WriteAt(block.data(), 400, 46 + 400 * i));
  EXPECT_TRUE(file.WriteAt(block.data(), 46, 0));  // the header refreshed
  EXPECT_TRUE(file.SendOn());
  fail = true;
  EXPECT_TRUE(file.WriteAt(block.data(), 400, 2046));
  EXPECT_FALSE(file.Close());  // the last block did not make it
  EXPECT_EQ(calls,
            (std::vector<std::string>{"write 0 46", "resize 46", "write 46 1200", "write 1246 800",
                                      "write 0 46", "send", "write 2046 400", "close"}));
  EXPECT_TRUE(file.Close());  // once closed, closing again asks nothing
  EXPECT_EQ(calls.size(), 8u);
}

}  // namespace
}  // namespace parlavox
