#include "WorkerPool.h"

#include <QThread>

WorkerPool::WorkerPool()
{
    const int count = qMax(1, QThread::idealThreadCount());
    for (int i = 0; i < count; ++i) {
        m_threads.emplace_back([this] { work(); });
    }
}

WorkerPool::~WorkerPool()
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_ending = true;
    }
    m_wake.notify_all();
    for (std::thread& thread : m_threads) {
        thread.join();
    }
}

void WorkerPool::start(std::function<void()> task)
{
    {
        const std::lock_guard<std::mutex> lock(m_lock);
        m_tasks.push_back(std::move(task));
    }
    m_wake.notify_one();
}

void WorkerPool::work()
{
    while (true) {
        std::function<void()> task;
        {
            std::unique_lock<std::mutex> lock(m_lock);
            m_wake.wait(lock, [this] { return m_ending || !m_tasks.empty(); });
            if (m_tasks.empty()) {
                return; // ending, and nothing is left to do
            }
            task = std::move(m_tasks.front());
            m_tasks.pop_front();
        }
        task();
    }
}
