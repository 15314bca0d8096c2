#include "setup/package.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <fstream>
#include <iterator>
#include <optional>

#include "setup/role_marker.h"
#include "util/file_io.h"
#include "util/little_endian.h"

namespace parlavox {
namespace {

constexpr size_t kPieceSize = 4096;

std::optional<std::string> FileBytes(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) return std::nullopt;
  return std::string(std::istreambuf_iterator<char>(file), {});
}

// Makes `path` anew: an existing file is unlinked first, so that a program that is
// running from it keeps its old image and the new one takes its place.
int CreateTarget(const std::string& path, bool executable) {
  unlink(path.c_str());
  return open(path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, executable ? 0755 : 0644);
}

class PackageFile {
 public:
  explicit PackageFile(const std::string& path) : fd_(open(path.c_str(), O_RDONLY | O_CLOEXEC)) {}
  ~PackageFile() {
    if (fd_ >= 0) close(fd_);
  }
  PackageFile(const PackageFile&) = delete;
  PackageFile& operator=(const PackageFile&) = delete;

  int fd() const { return fd_; }

  // The payload sizes and the checksum from the trailer of `rows` rows.
  bool ReadTrailer(size_t rows, std::vector<uint32_t>* sizes, uint32_t* checksum,
                   off_t* file_size) const {
    struct stat status {};
    if (fd_ < 0 || fstat(fd_, &status) != 0) return false;
    const off_t trailer = static_cast<off_t>((rows + 2) * 4);
    *file_size = status.st_size;
    if (status.st_size < trailer) return false;
    std::vector<uint8_t> bytes((rows + 1) * 4);
    if (ReadFullyAt(fd_, bytes.data(), bytes.size(), status.st_size - trailer) !=
        static_cast<ssize_t>(bytes.size())) {
      return false;
    }
    sizes->clear();
    for (size_t i = 0; i < rows; ++i) sizes->push_back(GetLittleEndian32(&bytes[i * 4]));
    *checksum = GetLittleEndian32(&bytes[rows * 4]);
    return true;
  }

 private:
  int fd_;
};

}  // namespace

uint32_t ByteSum(std::string_view bytes, uint32_t sum) {
  for (const char byte : bytes) sum += static_cast<uint8_t>(byte);
  return sum;
}

bool WritePackage(std::span<const std::string> files, const std::string& package) {
  std::string bytes;
  std::string trailer;
  for (const std::string& file : files) {
    const std::optional<std::string> content = FileBytes(file);
    if (!content) return false;
    bytes += *content;
    AppendLittleEndian32(&trailer, static_cast<uint32_t>(content->size()));
  }
  AppendLittleEndian32(&trailer, ByteSum(bytes));
  AppendLittleEndian32(&trailer, kInstallPackageMarker);
  std::ofstream out(package, std::ios::binary | std::ios::trunc);
  out << bytes << trailer;
  return static_cast<bool>(out.flush());
}

std::string PayloadTarget(const std::string& program_folder, const PayloadRow& row) {
  if (row.subfolder == "ProgramFiles" || row.subfolder == "DataFiles") {
    return program_folder + "/" + std::string(row.subfolder) + "/" + std::string(row.name);
  }
  return program_folder + "/" + std::string(row.name);
}

Extraction ExtractPayload(const std::string& package, const std::string& program_folder,
                          std::span<const PayloadRow> rows, ExtractionProgress& progress) {
  rows = rows.first(std::min(rows.size(), kMaxPayloadRows));
  const PackageFile file(package);
  if (file.fd() < 0) return Extraction::kUnreadable;
  std::vector<uint32_t> sizes;
  uint32_t remaining = 0;  // the checksum, less every byte read
  off_t file_size = 0;
  if (!file.ReadTrailer(rows.size(), &sizes, &remaining, &file_size)) return Extraction::kCorrupt;
  uint64_t total = 0;
  for (const uint32_t size : sizes) total += size;
  if (total + (rows.size() + 2) * 4 > static_cast<uint64_t>(file_size)) {
    return Extraction::kCorrupt;
  }

  uint64_t done = 0;
  off_t offset = 0;
  char piece[kPieceSize];
  for (size_t i = 0; i < rows.size(); ++i) {
    if (sizes[i] == 0) continue;
    progress.Extracting(rows[i].name);
    const int target = program_folder.empty() ? -1
                                              : CreateTarget(PayloadTarget(program_folder, rows[i]),
                                                             rows[i].executable);
    bool cancelled = false;
    for (uint32_t left = sizes[i]; left > 0 && !cancelled;) {
      const size_t want = std::min<size_t>(left, kPieceSize);
      if (ReadFullyAt(file.fd(), piece, want, offset) != static_cast<ssize_t>(want)) {
        if (target >= 0) close(target);
        return Extraction::kUnreadable;
      }
      remaining -= ByteSum(std::string_view(piece, want));
      if (target >= 0) WriteFully(target, piece, want);
      offset += static_cast<off_t>(want);
      left -= static_cast<uint32_t>(want);
      done += want;
      progress.Percent(static_cast<int>(done * 100 / total));
      cancelled = progress.Cancelled();
    }
    if (target >= 0) close(target);
    if (cancelled) return Extraction::kCancelled;
  }
  return remaining == 0 ? Extraction::kDone : Extraction::kCorrupt;
}

Extraction VerifyPayload(const std::string& package, std::span<const PayloadRow> rows) {
  class Unseen : public ExtractionProgress {
    void Extracting(std::string_view) override {}
    void Percent(int) override {}
    bool Cancelled() override { return false; }
  } unseen;
  return ExtractPayload(package, "", rows, unseen);
}

}  // namespace parlavox
