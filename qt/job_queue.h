// SPDX-License-Identifier: GPL-3.0-or-later
// Work handed to the display thread. The display thread makes the queue and runs its event loop;
// every other thread hands in work as functions. Order is kept over all callers.
#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

class QSocketNotifier;

namespace quillet::qt {

// What a waiting caller of CallUntilFinished is released by.
class Completion {
 public:
  // Display thread. The second and later calls do nothing.
  void Finish();

 private:
  friend class JobQueue;
  void Drop();
  bool Finished();
  bool Wait();  // false: dropped

  std::mutex mutex_;
  std::condition_variable changed_;
  bool finished_ = false;
  bool dropped_ = false;
};

class JobQueue {
 public:
  // On the display thread, after the application object.
  JobQueue();
  ~JobQueue();
  JobQueue(const JobQueue&) = delete;
  JobQueue& operator=(const JobQueue&) = delete;

  // Runs `job` on the display thread and returns when it ran; true. On the display thread itself it
  // runs at once. False when the queue is closed: the job was not run and never will be.
  bool Call(const std::function<void()>& job);

  // Runs `job` and waits until it (or what it set going) calls Finish. False when the queue was
  // closed first. Must not be called on the display thread, which would wait for itself.
  bool CallUntilFinished(const std::function<void(const std::shared_ptr<Completion>&)>& job);

  // Runs `job` some time later; false when the queue is closed.
  bool Post(std::function<void()> job);

  // Ends the queue: work not yet begun is dropped, waiting callers return false. Display thread.
  // Idempotent.
  void Close();

  // The same when the display thread never comes back: the caller of the job that it is in the
  // middle of returns false as well, though the job may have run in part. Any thread.
  void Abandon();

  bool OnDisplayThread() const { return std::this_thread::get_id() == display_thread_; }

 private:
  struct Job {
    std::function<void()> run;
    std::shared_ptr<Completion> completion;  // null: nobody waits
  };

  bool Append(Job job);
  void RunWaiting();
  void KeepWaiting(const std::shared_ptr<Completion>& completion);
  void Ring();

  const std::thread::id display_thread_;
  int event_ = -1;
  std::unique_ptr<QSocketNotifier> notifier_;
  std::mutex mutex_;
  std::deque<Job> jobs_;
  std::vector<std::weak_ptr<Completion>> waiting_;
  std::weak_ptr<Completion> running_;  // of the job under way
  bool closed_ = false;
};

}  // namespace quillet::qt
