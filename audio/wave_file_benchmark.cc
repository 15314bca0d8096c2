// Reading and writing one hour of 11025 Hz 16-bit mono, ours against libsndfile on
// the same file. Both sides move 8192 frames a call in their natural sample type.

#include <benchmark/benchmark.h>
#include <sndfile.h>
#include <stdlib.h>

#include <filesystem>
#include <vector>

#include "audio/wave_file.h"

namespace parlavox {
namespace {

constexpr int64_t kHourFrames = int64_t{11025} * 3600;

// Each side moves the hour three times a run, over five runs.
void HourLong(benchmark::internal::Benchmark* benchmark) {
  benchmark->Unit(benchmark::kMillisecond)->Iterations(3)->Repetitions(5)->ReportAggregatesOnly();
}

std::string BenchmarkFile(const char* name) {
  return (std::filesystem::temp_directory_path() / name).string();
}

void BM_OurWriter(benchmark::State& state) {
  const std::string path = BenchmarkFile("parlavox-bench-ours.wav");
  std::vector<int32_t> block(kMaxBlockFrames, 1600);
  for (auto _ : state) {
    std::filesystem::remove(path);
    auto writer = CreateWaveFileWriter(path, 11025, 1, 16, 0);
    for (int64_t done = 0; done < kHourFrames; done += kMaxBlockFrames) {
      writer->Write(block.data(), std::min<int64_t>(kMaxBlockFrames, kHourFrames - done));
    }
  }
  state.SetItemsProcessed(state.iterations() * kHourFrames);
}
BENCHMARK(BM_OurWriter)->Apply(HourLong);

void BM_LibsndfileWriter(benchmark::State& state) {
  const std::string path = BenchmarkFile("parlavox-bench-sndfile.wav");
  std::vector<int16_t> block(kMaxBlockFrames, 100);
  for (auto _ : state) {
    SF_INFO info{};
    info.samplerate = 11025;
    info.channels = 1;
    info.format = SF_FORMAT_WAV | SF_FORMAT_PCM_16;
    SNDFILE* file = sf_open(path.c_str(), SFM_WRITE, &info);
    for (int64_t done = 0; done < kHourFrames; done += kMaxBlockFrames) {
      sf_writef_short(file, block.data(), std::min<int64_t>(kMaxBlockFrames, kHourFrames - done));
    }
    sf_close(file);
  }
  state.SetItemsProcessed(state.iterations() * kHourFrames);
}
BENCHMARK(BM_LibsndfileWriter)->Apply(HourLong);

void BM_OurReader(benchmark::State& state) {
  const std::string path = BenchmarkFile("parlavox-bench-ours.wav");
  std::vector<int32_t> block(kMaxBlockFrames);
  for (auto _ : state) {
    auto reader = OpenWaveFileReader(path);
    for (int64_t done = 0; done < reader->GetLength(); done += kMaxBlockFrames) {
      reader->Read(block.data(), kMaxBlockFrames);
    }
    benchmark::DoNotOptimize(block.data());
  }
  state.SetItemsProcessed(state.iterations() * kHourFrames);
}
BENCHMARK(BM_OurReader)->Apply(HourLong);

void BM_LibsndfileReader(benchmark::State& state) {
  const std::string path = BenchmarkFile("parlavox-bench-ours.wav");
  std::vector<int16_t> block(kMaxBlockFrames);
  for (auto _ : state) {
    SF_INFO info{};
    SNDFILE* file = sf_open(path.c_str(), SFM_READ, &info);
    while (sf_readf_short(file, block.data(), kMaxBlockFrames) > 0) {
    }
    sf_close(file);
    benchmark::DoNotOptimize(block.data());
  }
  state.SetItemsProcessed(state.iterations() * kHourFrames);
}
BENCHMARK(BM_LibsndfileReader)->Apply(HourLong);

}  // namespace
}  // namespace parlavox

// The benchmarks share their hour-long files; they go once all have run.
int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  if (benchmark::ReportUnrecognizedArguments(argc, argv)) return 1;
  benchmark::RunSpecifiedBenchmarks();
  benchmark::Shutdown();
  for (const char* name : {"parlavox-bench-ours.wav", "parlavox-bench-sndfile.wav"}) {
    std::filesystem::remove(parlavox::BenchmarkFile(name));
  }
  return 0;
}
