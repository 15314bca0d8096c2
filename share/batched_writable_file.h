#ifndef PARLAVOX_SHARE_BATCHED_WRITABLE_FILE_H_
#define PARLAVOX_SHARE_BATCHED_WRITABLE_FILE_H_

#include <memory>
#include <string>

#include "audio/writable_file.h"

namespace parlavox {

// A WritableFile that gathers writes that follow one another into one write of at least
// `batch_bytes` to `target`, so that a file on a server far away gets few large writes,
// each a round trip, instead of one per block of sound. A write elsewhere in the file
// (a header), a resize, SendOn and Close pass on what is gathered first. A write that
// failed is reported by the call that passed it on.
class BatchedWritableFile : public WritableFile {
 public:
  BatchedWritableFile(std::unique_ptr<WritableFile> target, size_t batch_bytes)
      : target_(std::move(target)), batch_bytes_(batch_bytes) {}
  ~BatchedWritableFile() override { Close(); }

  bool WriteAt(const void* data, size_t size, int64_t offset) override;
  bool Resize(int64_t size) override { return PassOn() && target_->Resize(size); }
  bool SendOn() override { return PassOn() && target_->SendOn(); }
  bool Close() override;

 private:
  // Writes what is gathered; false when that failed.
  bool PassOn();

  std::unique_ptr<WritableFile> target_;
  const size_t batch_bytes_;
  std::string gathered_;
  int64_t gathered_offset_ = 0;
  bool closed_ = false;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_BATCHED_WRITABLE_FILE_H_
