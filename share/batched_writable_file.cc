#include "share/batched_writable_file.h"

namespace parlavox {

bool BatchedWritableFile::WriteAt(const void* data, size_t size, int64_t offset) {
  bool passed = true;
  if (!gathered_.empty() && offset != gathered_offset_ + static_cast<int64_t>(gathered_.size())) {
    passed = PassOn();
  }
  if (gathered_.empty()) gathered_offset_ = offset;
  gathered_.append(static_cast<const char*>(data), size);
  if (gathered_.size() >= batch_bytes_) passed &= PassOn();
  return passed;
}

bool BatchedWritableFile::Close() {
  if (closed_) return true;
  closed_ = true;
  const bool passed = PassOn();
  return target_->Close() && passed;
}

bool BatchedWritableFile::PassOn() {
  if (gathered_.empty()) return true;
  const bool written = target_->WriteAt(gathered_.data(), gathered_.size(), gathered_offset_);
  gathered_.clear();
  return written;
}

}  // namespace parlavox
