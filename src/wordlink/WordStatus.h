#pragma once

// "Running" under "WordStatus": "Y" while the program drives the office suite, "N" otherwise,
// published for watchers outside the program. A stretch of such work holds a guard.
namespace wordlink {

void setWordRunning(bool running);

class WordJob
{
public:
    WordJob() { setWordRunning(true); }
    ~WordJob() { setWordRunning(false); }
    WordJob(const WordJob&) = delete;
    WordJob& operator=(const WordJob&) = delete;
};

} // namespace wordlink
