#include "standalone/codepage_p.h"

#include "platform/commonutil.h"

#include <QTextCodec>

namespace {

// Equal to GBK wherever GBK has a character, and with a place for all others.
QTextCodec* gbk()
{
    return QTextCodec::codecForName("GB18030");
}

} // namespace

namespace utils {

int safeUtf82Gbk(std::string& text)
{
    QTextCodec::ConverterState state;
    const QString strText = QTextCodec::codecForName("UTF-8")->toUnicode(
        text.data(), static_cast<int>(text.size()), &state);
    if (state.invalidChars != 0 || state.remainingChars != 0) {
        return -1;
    }
    text = gbk()->fromUnicode(strText).toStdString();
    return 0;
}

} // namespace utils

namespace standalone {

QString fromGbk(const std::string& bytes)
{
    return gbk()->toUnicode(bytes.data(), static_cast<int>(bytes.size()));
}

} // namespace standalone
