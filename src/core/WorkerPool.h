#pragma once

#include <condition_variable>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

// A few threads, one per processor, that run the tasks given to them, oldest first. Made of the
// standard library's threads, locks and condition variables, so that the thread sanitizer sees
// every hand-over between the runs and their tasks. The destructor lets the tasks already given
// run to their end, then ends the threads.
class WorkerPool
{
public:
    WorkerPool();
    ~WorkerPool();
    WorkerPool(const WorkerPool&) = delete;
    WorkerPool& operator=(const WorkerPool&) = delete;

    int threadCount() const { return static_cast<int>(m_threads.size()); }
    void start(std::function<void()> task);

private:
    void work();

    std::mutex m_lock;
    std::condition_variable m_wake;
    std::deque<std::function<void()>> m_tasks;
    bool m_ending = false;
    std::vector<std::thread> m_threads;
};
