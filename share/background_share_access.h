#ifndef PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_
#define PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_

#include "core/share_access.h"
#include "util/task_poster.h"

namespace parlavox {

// The ShareAccess on the file system: reads, opens and writes happen on `worker`'s
// thread (one after another, in the order asked), answers are posted to `owner`.
class BackgroundShareAccess : public ShareAccess {
 public:
  BackgroundShareAccess(TaskPoster& worker, TaskPoster& owner) : worker_(worker), owner_(owner) {}

  void ReadRecord(const std::string& folder,
                  std::function<void(std::optional<UserRecord>)> done) override;
  void OpenMessage(const std::string& folder, const std::string& name,
                   std::function<void(MessageOpening)> done, MessageReports reports) override;

 private:
  TaskPoster& worker_;
  TaskPoster& owner_;
};

}  // namespace parlavox

#endif  // PARLAVOX_SHARE_BACKGROUND_SHARE_ACCESS_H_
