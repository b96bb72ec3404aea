#include "Tests/Doubles/ManualDispatch.h"

#include "Platform/Base/Guard.h"

namespace wevora::platform {

/// The delayed blocks of all queues, by their due time on the virtual clock.
class ManualAgenda : public std::enable_shared_from_this<ManualAgenda> {
 public:
  explicit ManualAgenda(VirtualClock& clock) : clock_(clock) {}

  std::shared_ptr<DelayedBlock> add(std::chrono::nanoseconds delay, std::shared_ptr<Queue> queue,
                                    Block block);
  std::size_t size() const { return entries_.size(); }
  void clear() { Entries().swap(entries_); }
  /// Advances the clock to the first block due by `time` and queues it; false if there is none.
  bool queueFirstDueBy(std::chrono::nanoseconds time);

 private:
  struct Entry : DelayedBlock {
    std::weak_ptr<ManualAgenda> agenda;
    std::shared_ptr<Queue> queue;
    Block block;
    void expedite() override {
      if (const auto owner = agenda.lock()) owner->expedite(*this);
    }
  };
  void expedite(const Entry& entry);
  using Entries = std::multimap<std::chrono::nanoseconds, std::shared_ptr<Entry>>;
  void queueNow(Entries::iterator place);

  VirtualClock& clock_;
  Entries entries_;
};

std::shared_ptr<DelayedBlock> ManualAgenda::add(std::chrono::nanoseconds delay,
                                                std::shared_ptr<Queue> queue, Block block) {
  auto entry = std::make_shared<Entry>();
  entry->agenda = weak_from_this();
  entry->queue = std::move(queue);
  entry->block = std::move(block);
  entries_.emplace(clock_.uptime() + delay, entry);
  return entry;
}

void ManualAgenda::queueNow(Entries::iterator place) {
  const auto entry = place->second;
  entries_.erase(place);
  entry->queue->async(std::move(entry->block));
}

void ManualAgenda::expedite(const Entry& entry) {
  for (auto place = entries_.begin(); place != entries_.end(); ++place)
    if (place->second.get() == &entry) return queueNow(place);
}

bool ManualAgenda::queueFirstDueBy(std::chrono::nanoseconds time) {
  if (entries_.empty() || entries_.begin()->first > time) return false;
  const auto first = entries_.begin();
  if (first->first > clock_.uptime()) clock_.advance(first->first - clock_.uptime());
  queueNow(first);
  return true;
}

std::shared_ptr<DelayedBlock> ManualQueue::after(std::chrono::nanoseconds delay, Block block) {
  return agenda_->add(delay, shared_from_this(), std::move(block));
}

bool ManualQueue::runNext() {
  if (blocks_.empty()) return false;
  Block block = std::move(blocks_.front());
  blocks_.pop_front();
  catchAll(block);
  return true;
}

std::size_t ManualQueue::runAll() {
  std::size_t ran = 0;
  while (runNext()) ++ran;
  return ran;
}

void ManualOperationQueue::addOperation(std::shared_ptr<Operation> operation) {
  waiting_[operation->queuePriority()].push_back(std::move(operation));
}

std::size_t ManualOperationQueue::operationCount() const {
  std::size_t count = running_;
  for (const auto& [priority, operations] : waiting_) count += operations.size();
  return count;
}

std::shared_ptr<Operation> ManualOperationQueue::next() const {
  return waiting_.empty() ? nullptr : waiting_.begin()->second.front();
}

bool ManualOperationQueue::runNext() {
  if (waiting_.empty()) return false;
  const auto highest = waiting_.begin();
  const auto operation = highest->second.front();
  highest->second.pop_front();
  if (highest->second.empty()) waiting_.erase(highest);
  ++running_;
  catchAll([&] { operation->main(); });
  --running_;
  return true;
}

void ManualOperationQueue::waitUntilAllOperationsAreFinished() {
  while (runNext()) {
  }
}

ManualDispatch::ManualDispatch(VirtualClock& clock)
    : clock_(clock),
      agenda_(std::make_shared<ManualAgenda>(clock)),
      main_(std::make_shared<ManualQueue>(agenda_, "main")) {}

ManualDispatch::~ManualDispatch() {
  // Breaks reference cycles: a pending block may own the owner of its queue.
  agenda_->clear();
  for (const auto& queue : serialQueues_) queue->clear();
  main_->clear();
}

std::shared_ptr<Queue> ManualDispatch::serialQueue(std::string_view name) {
  auto queue = std::make_shared<ManualQueue>(agenda_, name);
  // As with real queues, a queue released by its owner lives until its last block has run.
  std::erase_if(serialQueues_,
                [](const auto& other) { return other.use_count() == 1 && other->pending() == 0; });
  serialQueues_.push_back(queue);
  return queue;
}

std::shared_ptr<OperationQueue> ManualDispatch::operationQueue(std::size_t) {
  auto queue = std::make_shared<ManualOperationQueue>();
  operationQueues_.push_back(queue);
  return queue;
}

std::vector<std::shared_ptr<ManualQueue>> ManualDispatch::serialQueues(
    std::string_view name) const {
  std::vector<std::shared_ptr<ManualQueue>> found;
  for (const auto& queue : serialQueues_)
    if (queue->name() == name) found.push_back(queue);
  return found;
}

bool ManualDispatch::runBackgroundOnce() {
  bool ran = false;
  // By index: a block may create a new queue.
  for (std::size_t i = 0; i < serialQueues_.size(); ++i)
    if (const auto queue = serialQueues_[i]) ran = queue->runNext() || ran;
  for (std::size_t i = 0; i < operationQueues_.size(); ++i)
    if (const auto queue = operationQueues_[i].lock()) ran = queue->runNext() || ran;
  return ran;
}

void ManualDispatch::runBackground() {
  while (runBackgroundOnce()) {
  }
}

void ManualDispatch::runAll() {
  do {
    runBackground();
  } while (main_->runNext());
}

void ManualDispatch::advance(std::chrono::nanoseconds step) {
  const auto end = clock_.uptime() + step;
  runAll();
  while (agenda_->queueFirstDueBy(end)) runAll();
  clock_.advance(end - clock_.uptime());
}

std::size_t ManualDispatch::delayed() const {
  return agenda_->size();
}

}  // namespace wevora::platform
