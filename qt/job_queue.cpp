// SPDX-License-Identifier: GPL-3.0-or-later
// Jobs wait in a deque under a mutex; an event descriptor wakes the display thread's event loop. A
// caller waits on a Completion of its own, which its job finishes now or later, and which Close
// drops, so that nobody waits for an event loop that has ended.
#include "qt/job_queue.h"

#include <sys/eventfd.h>
#include <unistd.h>

#include <QSocketNotifier>
#include <cstdint>
#include <system_error>
#include <utility>

namespace quillet::qt {

void Completion::Finish() {
  const std::lock_guard lock(mutex_);
  finished_ = true;
  changed_.notify_all();
}

void Completion::Drop() {
  const std::lock_guard lock(mutex_);
  dropped_ = true;
  changed_.notify_all();
}

bool Completion::Finished() {
  const std::lock_guard lock(mutex_);
  return finished_;
}

bool Completion::Wait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return finished_ || dropped_; });
  return finished_;
}

// Own queue and condition variable instead of the toolkit's blocking queued calls: those never
// return once the event loop has ended, and hide the hand-over from the thread sanitizer.
JobQueue::JobQueue()
    : display_thread_(std::this_thread::get_id()), event_(eventfd(0, EFD_NONBLOCK | EFD_CLOEXEC)) {
  if (event_ < 0) throw std::system_error(errno, std::generic_category(), "eventfd");
  notifier_ = std::make_unique<QSocketNotifier>(event_, QSocketNotifier::Read);
  QObject::connect(notifier_.get(), &QSocketNotifier::activated, notifier_.get(),
                   [this] { RunWaiting(); });
}

JobQueue::~JobQueue() {
  Close();
  notifier_.reset();
  ::close(event_);
}

bool JobQueue::Call(const std::function<void()>& job) {
  if (OnDisplayThread()) {
    {
      const std::lock_guard lock(mutex_);
      if (closed_) return false;
    }
    job();
    return true;
  }
  return CallUntilFinished([&job](const std::shared_ptr<Completion>& completion) {
    job();
    completion->Finish();
  });
}

bool JobQueue::CallUntilFinished(
    const std::function<void(const std::shared_ptr<Completion>&)>& job) {
  const auto completion = std::make_shared<Completion>();
  if (!Append({[&job, completion] { job(completion); }, completion})) return false;
  return completion->Wait();
}

bool JobQueue::Post(std::function<void()> job) {
  return Append({std::move(job), nullptr});
}

bool JobQueue::Append(Job job) {
  {
    const std::lock_guard lock(mutex_);
    if (closed_) return false;
    jobs_.push_back(std::move(job));
  }
  Ring();
  return true;
}

void JobQueue::Ring() {
  const std::uint64_t one = 1;
  // Fails only when the counter is full, and then the display thread is awake already.
  [[maybe_unused]] const ssize_t written = ::write(event_, &one, sizeof one);
}

// One job a call: the event loop gets its turn between two jobs, so that a thread that never stops
// posting cannot keep the screen from being drawn.
void JobQueue::RunWaiting() {
  std::uint64_t count = 0;
  [[maybe_unused]] const ssize_t read = ::read(event_, &count, sizeof count);
  Job job;
  {
    const std::lock_guard lock(mutex_);
    if (jobs_.empty()) return;
    job = std::move(jobs_.front());
    jobs_.pop_front();
    running_ = job.completion;
    if (!jobs_.empty()) Ring();
  }
  job.run();
  if (job.completion) KeepWaiting(job.completion);
}

// A caller that the job itself did not release stays on record for Close.
void JobQueue::KeepWaiting(const std::shared_ptr<Completion>& completion) {
  if (completion->Finished()) return;
  const std::lock_guard lock(mutex_);
  if (closed_) {
    completion->Drop();
    return;
  }
  std::erase_if(waiting_, [](const auto& waiter) { return waiter.expired(); });
  waiting_.push_back(completion);
}

void JobQueue::Abandon() {
  Close();
  std::shared_ptr<Completion> running;
  {
    const std::lock_guard lock(mutex_);
    running = running_.lock();
  }
  if (running) running->Drop();
}

void JobQueue::Close() {
  std::deque<Job> dropped;
  std::vector<std::weak_ptr<Completion>> waiting;
  {
    const std::lock_guard lock(mutex_);
    closed_ = true;
    dropped.swap(jobs_);
    waiting.swap(waiting_);
  }
  for (const Job& job : dropped) {
    if (job.completion) job.completion->Drop();
  }
  for (const auto& waiter : waiting) {
    if (const auto completion = waiter.lock()) completion->Drop();
  }
}

}  // namespace quillet::qt
