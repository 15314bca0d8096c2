#include "share/loss_reporting_file.h"

#include <utility>

namespace parlavox {
namespace {

class LossReportingFile : public WritableFile {
 public:
  LossReportingFile(std::unique_ptr<WritableFile> target, std::function<void()> lost)
      : target_(std::move(target)), lost_(std::move(lost)) {}

  bool WriteAt(const void* data, size_t size, int64_t offset) override {
    return Kept(target_->WriteAt(data, size, offset));
  }
  bool Resize(int64_t size) override { return target_->Resize(size); }
  bool SendOn() override { return Kept(target_->SendOn()); }
  bool Close() override { return target_->Close(); }

 private:
  bool Kept(bool kept) {
    if (!kept && lost_) std::exchange(lost_, nullptr)();
    return kept;
  }

  std::unique_ptr<WritableFile> target_;
  std::function<void()> lost_;
};

}  // namespace

std::unique_ptr<WritableFile> ReportingLoss(std::unique_ptr<WritableFile> target,
                                            std::function<void()> lost) {
  if (!target) return nullptr;
  return std::make_unique<LossReportingFile>(std::move(target), std::move(lost));
}

}  // namespace parlavox
