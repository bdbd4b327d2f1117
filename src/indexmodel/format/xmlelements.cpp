#include "format/xmlelements.h"

#include <QTextStream>

#include <array>
#include <charconv>

namespace KW {

namespace {

constexpr int c_nFewAttributes = 64;

QStringList namesByIndex(const QDomNamedNodeMap& attributes)
{
    QStringList names;
    for (int i = 0; i < attributes.size(); ++i) {
        names.append(attributes.item(i).nodeName());
    }
    return names;
}

// A tag as Qt writes it: values in double quotes, in which there are none.
QStringList namesInTag(const QString& tag)
{
    QStringList names;
    int nBegin = tag.indexOf(QLatin1Char(' ')) + 1;
    for (int i = tag.indexOf(QLatin1Char('='), nBegin); i >= 0;
         i = tag.indexOf(QLatin1Char('='), nBegin)) {
        names.append(tag.mid(nBegin, i - nBegin));
        nBegin = tag.indexOf(QLatin1Char('"'), i + 2) + 2;
    }
    return names;
}

} // namespace

int intAttribute(const QDomElement& element, const QString& name)
{
    return element.attribute(name).toInt();
}

void setIntAttribute(QDomElement& element, const QString& name, int value)
{
    static const QString s_strZero = QStringLiteral("0");
    static const QString s_strOne = QStringLiteral("1");
    if (value == 0 || value == 1) {
        element.setAttribute(name, value == 0 ? s_strZero : s_strOne);
        return;
    }
    std::array<char, 16> digits {};
    const auto end = std::to_chars(digits.begin(), digits.end(), value).ptr;
    element.setAttribute(name,
                         QString::fromLatin1(digits.data(), static_cast<int>(end - digits.data())));
}

QVector<QDomElement> descendants(const QDomElement& parent, const QString& name)
{
    const QDomNodeList nodes = parent.elementsByTagName(name);
    QVector<QDomElement> found(nodes.size());
    for (int i = 0; i < found.size(); ++i) {
        found[i] = nodes.at(i).toElement();
    }
    return found;
}

// To an index Qt goes from the first attribute on, each time.
QStringList attributeNames(const QDomElement& element)
{
    const QDomNamedNodeMap attributes = element.attributes();
    if (attributes.size() <= c_nFewAttributes) {
        return namesByIndex(attributes);
    }
    QString strTag;
    QTextStream stream(&strTag);
    element.cloneNode(false).save(stream, 0);
    return namesInTag(strTag);
}

} // namespace KW
