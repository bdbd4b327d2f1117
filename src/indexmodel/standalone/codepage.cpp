#include "standalone/codepage_p.h"

#include "platform/commonutil.h"

#include <QTextCodec>

namespace {

// Codecs are looked up once: saves convert on threads of their own.

// Equal to GBK wherever GBK has a character, and with a place for all others.
const QTextCodec& gbk()
{
    static const QTextCodec* const s_pCodec = QTextCodec::codecForName("GB18030");
    return *s_pCodec;
}

const QTextCodec& utf8()
{
    static const QTextCodec* const s_pCodec = QTextCodec::codecForName("UTF-8");
    return *s_pCodec;
}

} // namespace

namespace utils {

int safeUtf82Gbk(std::string& text)
{
    QTextCodec::ConverterState state;
    const QString strText = utf8().toUnicode(text.data(), static_cast<int>(text.size()), &state);
    if (state.invalidChars != 0 || state.remainingChars != 0) {
        return -1;
    }
    text = gbk().fromUnicode(strText).toStdString();
    return 0;
}

} // namespace utils

namespace standalone {

QString fromGbk(const std::string& bytes)
{
    return gbk().toUnicode(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace standalone
