#include "platform/simulated/virtual_scheduler.h"

#include <algorithm>
#include <utility>

namespace brindlemux {

class VirtualScheduler::Handle final : public ScheduledWork {
 public:
  explicit Handle(std::shared_ptr<Item> item) : item_(std::move(item)) {}
  ~Handle() override { item_->active = false; }
  Handle(const Handle&) = delete;
  Handle& operator=(const Handle&) = delete;

  void cancel() override { item_->active = false; }

 private:
  std::shared_ptr<Item> item_;
};

void VirtualScheduler::post(std::function<void()> work) {
  const std::lock_guard guard(postedLock_);
  posted_.push_back(std::move(work));
}

std::unique_ptr<ScheduledWork> VirtualScheduler::after(std::chrono::milliseconds delay, std::function<void()> work) {
  return schedule(delay, std::chrono::milliseconds(0), std::move(work));
}

std::unique_ptr<ScheduledWork> VirtualScheduler::every(std::chrono::milliseconds interval, std::function<void()> work) {
  // Time would never pass an interval of nothing.
  const auto step = std::max(interval, std::chrono::milliseconds(1));
  return schedule(step, step, std::move(work));
}

std::unique_ptr<ScheduledWork> VirtualScheduler::schedule(std::chrono::milliseconds delay,
                                                          std::chrono::milliseconds interval,
                                                          std::function<void()> work) {
  auto item = std::make_shared<Item>(Item{now_ + delay, interval, std::move(work), true});
  items_.push_back(item);
  return std::make_unique<Handle>(std::move(item));
}

void VirtualScheduler::advance(std::chrono::milliseconds duration) {
  const std::chrono::milliseconds end = now_ + duration;
  runPosted();
  while (const std::shared_ptr<Item> item = nextDue(end)) {
    now_ = std::max(now_, item->due);
    run(*item);
    runPosted();
  }
  now_ = end;
}

void VirtualScheduler::runPosted() {
  while (true) {
    std::function<void()> work;
    {
      const std::lock_guard guard(postedLock_);
      if (posted_.empty()) return;
      work = std::move(posted_.front());
      posted_.pop_front();
    }
    work();
  }
}

std::size_t VirtualScheduler::scheduledCount() const {
  return static_cast<std::size_t>(
      std::count_if(items_.begin(), items_.end(), [](const auto& item) { return item->active; }));
}

std::shared_ptr<VirtualScheduler::Item> VirtualScheduler::nextDue(std::chrono::milliseconds end) {
  std::erase_if(items_, [](const auto& item) { return !item->active; });
  const auto first = std::min_element(items_.begin(), items_.end(),
                                      [](const auto& left, const auto& right) { return left->due < right->due; });
  return first == items_.end() || (*first)->due > end ? nullptr : *first;
}

void VirtualScheduler::run(Item& item) {
  if (item.interval.count() == 0) {
    item.active = false;
  } else {
    item.due += item.interval;
  }
  // The work may drop its own handle, and with it nothing that still runs: the caller holds the item.
  item.work();
}

}  // namespace brindlemux
