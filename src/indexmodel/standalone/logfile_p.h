#pragma once

#include <QFile>

#include <log4cxx/appenderskeleton.h>

#include <memory>

namespace standalone {

/// Appends log lines to a file, in UTF-8, each as soon as it comes. log4cxx's own opens no file and
/// writes no character that the locale has no bytes for.
class CLogFile : public log4cxx::AppenderSkeleton {
public:
    /// \a pFile is open for writing.
    CLogFile(const log4cxx::LayoutPtr& pLayout, std::unique_ptr<QFile> pFile);
    ~CLogFile() override;

    void close() override;
    bool requiresLayout() const override { return true; }

protected:
    void append(const log4cxx::spi::LoggingEventPtr& pEvent, log4cxx::helpers::Pool& pool) override;

private:
    std::unique_ptr<QFile> m_pFile;
};

} // namespace standalone
