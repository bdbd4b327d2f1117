#pragma once

/// A bar on stderr while many files are read; nothing unless stderr is a terminal.
class CProgress {
public:
    explicit CProgress(int total);
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    ~CProgress(); ///< wipes the bar

    void advance();

private:
    int m_nTotal;
    int m_nDone = 0;
    bool m_bShown;
};
