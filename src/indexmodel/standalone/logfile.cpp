#include "standalone/logfile_p.h"

#include <log4cxx/helpers/transcoder.h>
#include <log4cxx/layout.h>

namespace standalone {

CLogFile::CLogFile(const log4cxx::LayoutPtr& pLayout, std::unique_ptr<QFile> pFile)
    : m_pFile(std::move(pFile))
{
    // The base's constructor that takes one does not keep it.
    AppenderSkeleton::setLayout(pLayout);
}

CLogFile::~CLogFile()
{
    finalize();
}

void CLogFile::close()
{
    m_pFile->close();
}

void CLogFile::append(const log4cxx::spi::LoggingEventPtr& pEvent, log4cxx::helpers::Pool& pool)
{
    log4cxx::LogString strLine;
    getLayout()->format(strLine, pEvent, pool);
    std::string strUtf8;
    log4cxx::helpers::Transcoder::encodeUTF8(strLine, strUtf8);
    // There is nowhere left to say that a log cannot be written.
    m_pFile->write(strUtf8.data(), static_cast<qint64>(strUtf8.size()));
    m_pFile->flush();
}

} // namespace standalone
