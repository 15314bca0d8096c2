#ifndef PARLAVOX_SHARE_LOSS_REPORTING_FILE_H_
#define PARLAVOX_SHARE_LOSS_REPORTING_FILE_H_

#include <functional>
#include <memory>

#include "audio/writable_file.h"

namespace parlavox {

// `target`, which calls `lost` once, on the thread that writes, when a write into it
// or the sending on of what was written first fails: that sound is gone for good (a
// full disk, a mounted share whose server refused what the system kept for it, a
// server that kept it as long as it could). A resize that fails is no loss of sound.
std::unique_ptr<WritableFile> ReportingLoss(std::unique_ptr<WritableFile> target,
                                            std::function<void()> lost);

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_LOSS_REPORTING_FILE_H_
