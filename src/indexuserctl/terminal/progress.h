#pragma once

#include <QElapsedTimer>

/// A bar on stderr while much is done one by one, with the time that the rest takes; nothing unless
/// stderr is a terminal.
class CProgress {
public:
    explicit CProgress(int total);
    CProgress(const CProgress&) = delete;
    CProgress& operator=(const CProgress&) = delete;
    ~CProgress(); ///< wipes the bar

    void advance();
    /// Wipes the bar until the next step: something else is printed.
    void hide() const;

private:
    int m_nTotal;
    int m_nDone = 0;
    bool m_bShown;
    QElapsedTimer m_timer;
};
