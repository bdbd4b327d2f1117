#pragma once

namespace fuzzkit {

/// As long as one is there, who starts a thread waits for its end; in a harness with
/// inlinethreads.cpp.
class CInlineThreads {
public:
    CInlineThreads();
    CInlineThreads(const CInlineThreads&) = delete;
    CInlineThreads& operator=(const CInlineThreads&) = delete;
    ~CInlineThreads();
};

} // namespace fuzzkit
