#include "audio/wave_file.h"

#include <stdlib.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>

#include <gtest/gtest.h>

#include "audio/queued_wave_file_writer.h"
#include "audio/sample_conversion.h"
#include "audio/writable_file.h"
#include "util/child_process_test_util.h"
#include "util/little_endian.h"
#include "util/scratch_folder_test_util.h"

namespace parlavox {
namespace {

using namespace std::string_literals;

std::string Le(uint32_t value, int size) {
  std::string bytes;
  for (int i = 0; i < size; ++i) bytes += char(value >> (8 * i));
  return bytes;
}

// What sox decodes a file to, as 16-bit signed values, without dither.
std::vector<int16_t> DecodedBySox(const std::string& path) {
  EXPECT_EQ(Shell("sox -D '" + path + "' -t raw -e signed -b 16 -L '" + path + ".raw'"), 0);
  return RawSamples(path + ".raw");
}

// The 32-bit field at byte `at` of the file; 0 where the file is shorter.
uint32_t Le32At(const std::string& path, size_t at) {
  const std::string bytes = FileText(path);
  return bytes.size() < at + 4 ? 0
                               : GetLittleEndian32(reinterpret_cast<const uint8_t*>(&bytes[at]));
}

std::vector<int32_t> ReadAll(WaveFileReader& reader, int64_t frames) {
  std::vector<int32_t> samples(size_t(frames * reader.channels()));
  reader.Read(samples.data(), frames);
  return samples;
}

// A test tone on the internal scale: a 440 Hz sine at about half scale.
std::vector<int32_t> Tone(int frames, int channels, uint32_t rate) {
  std::vector<int32_t> samples;
  for (int i = 0; i < frames; ++i) {
    for (int c = 0; c < channels; ++c) {
      samples.push_back(int32_t(std::lround(250000 * std::sin(2 * M_PI * 440 * i / rate + c))));
    }
  }
  return samples;
}

class WaveFileTest : public testing::Test {
 protected:
  // Every file that a reader or writer opened is closed once it is gone.
  void TearDown() override { EXPECT_EQ(OpenFileCount(), open_files_); }

  std::string Path(const std::string& name) const { return folder_ / name; }

  // Writes a file out of a header and sample bytes for the chunk-walk cases.
  std::string Handmade(const std::string& name, const std::string& bytes) {
    WriteFileText(Path(name), bytes);
    return Path(name);
  }
  static std::string Format(uint16_t channels, uint32_t rate, uint32_t size = 16,
                            uint16_t bits = 16) {
    const uint32_t align = channels * ((bits + 7u) / 8u);
    std::string fmt =
        Le(1, 2) + Le(channels, 2) + Le(rate, 4) + Le(rate * align, 4) + Le(align, 2) + Le(bits, 2);
    fmt.resize(size, '\0');
    return "fmt " + Le(size, 4) + fmt;
  }
  static std::string Riff(const std::string& chunks) {
    return "RIFF" + Le(uint32_t(chunks.size() + 4), 4) + "WAVE" + chunks;
  }

  ScratchFolder folder_;
  const long open_files_ = OpenFileCount();
};

TEST_F(WaveFileTest, MessageFileHasTheExact46ByteLayout) {
  const std::string path = Path("1234.wav");
  {
    auto writer = CreateWaveFileWriter(path, 11025, 1, 16, 0);
    ASSERT_TRUE(writer->is_valid());
    const int32_t samples[] = {16, -16, 524272, -524288, 7};
    writer->Write(samples, 5);
  }
  const std::string expected = "RIFF" + Le(10 + 38, 4) + "WAVEfmt " + Le(18, 4) + Le(1, 2) +
                               Le(1, 2) + Le(11025, 4) + Le(22050, 4) + Le(2, 2) + Le(16, 2) +
                               Le(0, 2) + "data" + Le(10, 4) + Le(1, 2) + Le(0xFFFF, 2) +
                               Le(0x7FFF, 2) + Le(0x8000, 2) + Le(0, 2);
  EXPECT_EQ(FileText(path), expected);
}

TEST_F(WaveFileTest, SamplesConvertAsTheTableSaysAndWrap) {
  EXPECT_EQ(FromUnsigned8(255), kFullScale8Bit);
  EXPECT_EQ(FromUnsigned8(0), -128 * 2048);
  EXPECT_EQ(ToUnsigned8(kFullScale8Bit), 255);
  EXPECT_EQ(ToUnsigned8(kFullScale), 128);  // 16-bit full scale is beyond 8 bits: wraps
  EXPECT_EQ(From16(32767), kFullScale);
  EXPECT_EQ(To16(kFullScale + 16), -32768);
  EXPECT_EQ(To16(-9), -1);
  EXPECT_EQ(From32(0x7FFF0000), kFullScale);
  EXPECT_EQ(From32(0x7FFFFFFF), -524288);  // (value + 2048) wraps
  EXPECT_EQ(To32(kFullScale), 0x7FFF0000);
}

TEST_F(WaveFileTest, ProvisionalHeaderClaims32SecondsAndIsRefreshedEvery16) {
  const std::string path = Path("grow.wav");
  auto writer = CreateWaveFileWriter(path, 11025, 1, 16, 0);
  EXPECT_EQ(Le32At(path, 42), 352800u * 2);
  std::vector<int32_t> block(441, 160);
  for (int i = 0; i < 400; ++i) writer->Write(block.data(), 441);  // exactly 16 s
  EXPECT_EQ(Le32At(path, 42), 352800u * 2);                        // not refreshed yet
  writer->Write(block.data(), 441);
  EXPECT_EQ(writer->length(), 176841);
  EXPECT_EQ(Le32At(path, 42), (352800u + 176841u) * 2);
  EXPECT_EQ(Le32At(path, 4), (352800u + 176841u) * 2 + 38);

  writer->Truncate(1000);
  EXPECT_EQ(std::filesystem::file_size(path), 46u + 2000u);
  writer->Truncate(5000);  // beyond the length: nothing
  EXPECT_EQ(writer->length(), 1000);
  writer.reset();
  EXPECT_EQ(Le32At(path, 42), 2000u);

  auto invalid = CreateWaveFileWriter(Path("no/such/folder.wav"), 11025, 1, 16, 0);
  EXPECT_FALSE(invalid->is_valid());
  invalid->Write(block.data(), 441);
  EXPECT_EQ(invalid->length(), 441);
}

// A disk in memory that holds `room` bytes: a write that goes beyond fails, as on a
// full disk, where what fitted of it stays. It counts the writes.
class SmallDisk : public WritableFile {
 public:
  SmallDisk(std::string& bytes, size_t room) : bytes_(bytes), room_(room) {}
  bool WriteAt(const void* data, size_t size, int64_t offset) override {
    ++writes;
    const size_t at = size_t(offset), fits = std::min(size, room_ - std::min(room_, at));
    if (bytes_.size() < at + fits) bytes_.resize(at + fits);
    bytes_.replace(at, fits, static_cast<const char*>(data), fits);
    return fits == size;
  }
  bool Resize(int64_t size) override {
    bytes_.resize(size_t(size));
    return true;
  }
  bool SendOn() override { return true; }
  bool Close() override { return true; }
  int writes = 0;

 private:
  std::string& bytes_;
  const size_t room_;
};

// Sound that did not fit is not claimed by the finished header, nor kept in part: a
// reader takes the file as whole instead of waiting for the rest.
TEST_F(WaveFileTest, AFileThatFilledTheDiskIsFinishedClaimingOnlyWhatReachedIt) {
  std::string bytes;
  auto writer =
      CreateWaveFileWriter(std::make_unique<SmallDisk>(bytes, 46 + 3 * 882 + 100), 11025, 1, 16, 0);
  const std::vector<int32_t> block(441, 160);
  for (int i = 0; i < 5; ++i) writer->Write(block.data(), 441);
  EXPECT_FALSE(writer->Finish());
  EXPECT_EQ(GetLittleEndian32(reinterpret_cast<const uint8_t*>(&bytes[42])), 3u * 882);
  EXPECT_EQ(GetLittleEndian32(reinterpret_cast<const uint8_t*>(&bytes[4])), 3u * 882 + 38);
  EXPECT_EQ(bytes.size(), 46u + 3 * 882);  // what fitted of the fourth block is cut off

  std::string full;  // one that can't take the header can't be heard either
  EXPECT_FALSE(
      CreateWaveFileWriter(std::make_unique<SmallDisk>(full, 40), 11025, 1, 16, 0)->is_valid());
}

// Sound that waited behind a write to a server far away goes on as one write, a round
// trip, however long it is.
TEST_F(WaveFileTest, SoundThatWaitedReachesTheFileInOneWrite) {
  std::string bytes;
  auto disk = std::make_unique<SmallDisk>(bytes, 1 << 20);
  const SmallDisk& counted = *disk;
  auto writer = CreateWaveFileWriter(std::move(disk), 11025, 1, 16, 0);
  const int header_writes = counted.writes;
  const std::vector<int32_t> waited(3 * 11025, 160);
  writer->Write(waited.data(), int64_t(waited.size()));
  EXPECT_EQ(counted.writes - header_writes, 1);
  EXPECT_EQ(bytes.size(), 46u + waited.size() * 2);
  EXPECT_EQ(bytes.back(), 0);  // 160 on the internal scale is 10
  EXPECT_EQ(bytes[bytes.size() - 2], 10);
}

// Says what reached it: "write <frames>", "cut <frame>", "finish".
class CallLogWriter : public WaveFileWriter {
 public:
  CallLogWriter() : WaveFileWriter(11025, 1, 0) {}
  void Truncate(int64_t frame) override { calls.push_back("cut " + std::to_string(frame)); }
  bool Finish() override {
    calls.push_back("finish");
    return true;
  }
  std::vector<std::string> calls;

 protected:
  void WriteBlock(const int32_t*, int frames) override {
    calls.push_back("write " + std::to_string(frames));
  }
};

// Tasks wait until the test runs them, as behind a write to a slow server.
struct HeldTasks : TaskPoster {
  void Post(std::function<void()> task) override { tasks.push_back(std::move(task)); }
  void Run(size_t count) {
    for (size_t i = 0; i < count && !tasks.empty(); ++i) {
      std::function<void()> task = std::move(tasks.front());
      tasks.erase(tasks.begin());
      task();
    }
  }
  std::vector<std::function<void()>> tasks;
};

// Blocks that wait while an earlier write is on its way go on as one write, so a
// call keeps up with its sound whatever a write costs; cuts and the finish keep their
// places between the writes.
TEST_F(WaveFileTest, AQueuedWriterJoinsTheBlocksThatWaitedAndKeepsTheirOrder) {
  HeldTasks worker;
  auto log = std::make_shared<CallLogWriter>();
  std::optional<bool> whole;
  QueuedWaveFileWriter queued(log, worker, [&](bool made_it) { whole = made_it; });
  const std::vector<int32_t> block(441, 16);
  queued.Write(block.data(), 441);
  worker.Run(1);  // on its way
  for (int i = 0; i < 3; ++i) queued.Write(block.data(), 441);
  queued.Truncate(1000);
  queued.Write(block.data(), 441);
  EXPECT_TRUE(queued.Finish());
  queued.Write(block.data(), 441);  // after the finish: nowhere
  worker.Run(99);
  EXPECT_EQ(log->calls, (std::vector<std::string>{"write 441", "write 1323", "cut 1000",
                                                  "write 441", "finish"}));
  EXPECT_EQ(whole, true);
}

TEST_F(WaveFileTest, ChunkWalkAcceptsAndRefusesWhatItShould) {
  const std::string data = "data" + Le(4, 4) + Le(0x1234, 2) + Le(0x5678, 2);
  auto opens = [&](const std::string& bytes) {
    return OpenWaveFileReader(Handmade("case.wav", bytes)) != nullptr;
  };
  EXPECT_TRUE(opens(Riff(Format(1, 8000) + data)));
  EXPECT_TRUE(opens("JUNK" + Le(5, 4) + "abcde" + "x" + Riff(Format(1, 8000) + data)));
  EXPECT_TRUE(opens(Riff(Format(1, 8000) + "LIST" + Le(3, 4) + "abc" + "\0"s + data)));
  EXPECT_FALSE(opens(Riff(Format(1, 8000) + "LIST" + Le(0, 4) + data)));
  EXPECT_FALSE(opens(Riff(Format(1, 8000, 13) + data)));
  EXPECT_TRUE(opens(Riff(Format(1, 8000, 14) + data)));
  EXPECT_TRUE(opens(Riff(Format(1, 8000, 8192) + data)));
  EXPECT_FALSE(opens(Riff(Format(1, 8000, 8193) + data)));
  EXPECT_TRUE(opens(Riff(Format(1, 192000) + data)));
  EXPECT_FALSE(opens(Riff(Format(1, 192001) + data)));
  EXPECT_FALSE(opens(Riff(Format(0, 8000) + data)));
  EXPECT_FALSE(opens(Riff(Format(1, 8000))));
  EXPECT_FALSE(opens(""));
  EXPECT_EQ(OpenWaveFileReader(folder_.path()), nullptr);
  EXPECT_EQ(OpenWaveFileReader(Path("missing.wav")), nullptr);

  auto reader = OpenWaveFileReader(
      Handmade("odd.wav", "JUNK" + Le(5, 4) + "abcde" + "x" + Riff(Format(1, 8000) + data)));
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(ReadAll(*reader, 2), (std::vector<int32_t>{0x1234 * 16, 0x5678 * 16}));
}

TEST_F(WaveFileTest, ReaderGivesSilenceOutsideTheDataAndCapsTheLength) {
  // The header claims 4 GB of data; the file holds three frames.
  const std::string path = Handmade(
      "capped.wav",
      Riff(Format(1, 11025) + "data" + Le(0xFFFFFFF0, 4) + Le(100, 2) + Le(200, 2) + Le(300, 2)));
  auto reader = OpenWaveFileReader(path);
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(reader->GetLength(), 3);

  reader->Seek(-1653);  // the inbox starts 0.15 s early
  std::vector<int32_t> lead = ReadAll(*reader, 1655);
  EXPECT_TRUE(std::all_of(lead.begin(), lead.begin() + 1653, [](int32_t s) { return s == 0; }));
  EXPECT_EQ(lead[1653], 1600);
  EXPECT_EQ(lead[1654], 3200);
  EXPECT_EQ(ReadAll(*reader, 3), (std::vector<int32_t>{4800, 0, 0}));
  EXPECT_EQ(reader->GetPosition(), 5);

  std::ofstream(path, std::ios::binary | std::ios::app) << Le(400, 2);  // the file grows
  EXPECT_EQ(reader->GetLength(), 4);
  std::filesystem::resize_file(path, std::filesystem::file_size(path) - 4);  // and is cut
  EXPECT_EQ(reader->GetLength(), 2);
}

TEST_F(WaveFileTest, OurPcmFilesReadBackAndAreReadBySox) {
  constexpr int kFrames = kMaxBlockFrames + 1000;  // read in two blocks
  const std::vector<int32_t> tone = Tone(kFrames, 2, 22050);
  for (const int bits : {8, 16, 32}) {
    SCOPED_TRACE(bits);
    const std::string path = Path("ours" + std::to_string(bits) + ".wav");
    CreateWaveFileWriter(path, 22050, 2, bits, 0)->Write(tone.data(), kFrames);

    auto reader = OpenWaveFileReader(path);
    ASSERT_NE(reader, nullptr);
    EXPECT_EQ(reader->GetLength(), kFrames);
    EXPECT_EQ(reader->full_scale(), bits == 8 ? kFullScale8Bit : kFullScale);
    const std::vector<int32_t> back = ReadAll(*reader, kFrames);
    const std::vector<int16_t> sox = DecodedBySox(path);
    ASSERT_EQ(sox.size(), tone.size());
    for (size_t i = 0; i < tone.size(); ++i) {
      const int32_t step = bits == 8 ? 2048 : 16;  // what one file unit is worth
      ASSERT_LE(std::abs(back[i] - tone[i]), step / 2) << i;
      // sox scales 8-bit by 256 per unit where we use 2048: 3 bits apart.
      const int32_t expected16 = bits == 8 ? back[i] / 8 : back[i] / 16;
      ASSERT_LE(std::abs(sox[i] - expected16), 1) << i;
    }
  }
  EXPECT_EQ(Shell("soxi -r '" + Path("ours16.wav") + "' | grep -qx 22050"), 0);
  EXPECT_EQ(Shell("soxi -c '" + Path("ours16.wav") + "' | grep -qx 2"), 0);
}

TEST_F(WaveFileTest, FilesWrittenBySoxReadTheSameAsSoxDecodesThem) {
  struct Case {
    const char* encoding;
    int16_t tolerance;  // in 16-bit units
  };
  const Case cases[] = {{"-e unsigned -b 8", 0}, {"-e signed -b 16", 0},
                        {"-e signed -b 32", 1},  {"-e floating-point -b 32", 1},
                        {"-e a-law", 0},         {"-e u-law", 0},
                        {"-e ima-adpcm", 0},     {"-e ms-adpcm", 0},
                        {"-e gsm-full-rate", 0}};
  for (const Case& c : cases) {
    SCOPED_TRACE(c.encoding);
    const std::string path = Path("sox.wav");
    std::filesystem::remove(path);
    ASSERT_EQ(Shell(std::string("sox -D -n -r 8000 -c 1 ") + c.encoding + " '" + path +
                    "' synth 0.7 sine 300-900 vol 0.7"),
              0);
    const std::vector<int16_t> sox = DecodedBySox(path);
    auto reader = OpenWaveFileReader(path);
    ASSERT_NE(reader, nullptr);
    ASSERT_TRUE(reader->is_valid());
    const std::vector<int32_t> ours = ReadAll(*reader, int64_t(sox.size()) + 100);
    for (size_t i = 0; i < sox.size(); ++i) {
      const int32_t as16 =
          std::string(c.encoding).find("-b 8") != std::string::npos ? ours[i] / 8 : ours[i] / 16;
      ASSERT_LE(std::abs(as16 - sox[i]), c.tolerance) << "sample " << i;
    }
    EXPECT_TRUE(
        std::all_of(ours.begin() + long(sox.size()), ours.end(), [](int32_t s) { return s == 0; }));
    EXPECT_EQ(reader->GetLength(), int64_t(sox.size()));

    reader->Seek(2000);  // and seeking lands on the same samples
    const std::vector<int32_t> again = ReadAll(*reader, 10);
    for (int i = 0; i < 10; ++i) EXPECT_EQ(again[i], ours[2000 + i]) << i;
  }
}

TEST_F(WaveFileTest, TheCodecReaderTakesEveryFileTheChunkWalkTakes) {
  // The same IMA ADPCM message, once plain, once with a chunk of no known kind before
  // its format chunk: both decode to the same samples.
  const std::string corpus = PARLAVOX_WAVE_CORPUS;
  auto plain = OpenWaveFileReader(corpus + "/ima.wav");
  auto junk_first = OpenWaveFileReader(corpus + "/ima_junk_before_fmt.wav");
  ASSERT_TRUE(plain && plain->is_valid());
  ASSERT_TRUE(junk_first && junk_first->is_valid());
  EXPECT_EQ(junk_first->GetLength(), plain->GetLength());
  EXPECT_EQ(ReadAll(*junk_first, plain->GetLength()), ReadAll(*plain, plain->GetLength()));
}

TEST_F(WaveFileTest, TwentyFourBitFilesAreTakenAsFourBytesASample) {
  const std::string samples = "\x01\x02\x03\x04\x05\x06\x07\x08\x09\x0a\x0b\x0c";
  auto reader = OpenWaveFileReader(
      Handmade("24.wav", Riff(Format(1, 8000, 16, 24) + "data" + Le(12, 4) + samples)));
  ASSERT_NE(reader, nullptr);
  EXPECT_EQ(reader->GetLength(), 3);
  EXPECT_EQ(reader->full_scale(), kFullScale);
  EXPECT_EQ(ReadAll(*reader, 3),
            (std::vector<int32_t>{From32(0x04030201), From32(0x08070605), From32(0x0c0b0a09)}));
}

}  // namespace
}  // namespace parlavox
