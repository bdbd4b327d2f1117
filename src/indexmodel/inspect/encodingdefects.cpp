#include "inspect/encodingdefects_p.h"

#include <QRegularExpression>

namespace inspect {

QVector<EncodingDefect> encodingDefects(const QString& text)
{
    QVector<EncodingDefect> found;
    static const QRegularExpression s_declaration(
        QStringLiteral(R"(^<\?xml\s[^>]*\bencoding\s*=\s*["']([^"']*))"));
    const QRegularExpressionMatch declared = s_declaration.match(text);
    const QString strName = declared.captured(1);
    if (declared.hasMatch() && strName.compare(QLatin1String("utf-8"), Qt::CaseInsensitive) != 0) {
        found.append({ declared.capturedStart(1), QStringLiteral("declared-encoding"),
                       strName + " is declared, but the file is read and saved as UTF-8" });
    }
    // Bytes that are no UTF-8 were replaced when the file was read.
    const int nReplaced = text.indexOf(QChar(QChar::ReplacementCharacter));
    if (nReplaced >= 0) {
        found.append({ nReplaced, QStringLiteral("encoding"),
                       QStringLiteral("the file is not UTF-8 throughout") });
    }
    return found;
}

} // namespace inspect
