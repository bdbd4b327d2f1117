#include "truth.h"

#include <format/sections.h>
#include <format/userdocument.h>

#include <QXmlStreamReader>

#include <algorithm>

namespace truth {

namespace {

// The element that begins at \a begin, by the letter of XML; empty for none.
QByteArray elementAt(const QByteArray& text, int begin)
{
    QXmlStreamReader reader(QString::fromLatin1(text.mid(begin)));
    int nDepth = 0;
    while (!reader.hasError()) {
        const auto token = reader.readNext();
        nDepth += token == QXmlStreamReader::StartElement ? 1
            : token == QXmlStreamReader::EndElement       ? -1
                                                          : 0;
        if (token == QXmlStreamReader::EndElement && nDepth == 0) {
            return text.mid(begin, static_cast<int>(reader.characterOffset()));
        }
    }
    return {};
}

bool isHiddenAt(const QByteArray& text, int seam)
{
    int nBefore = seam - 1;
    while (nBefore > 0 && text[nBefore] != '<' && text[nBefore] != '>') {
        --nBefore;
    }
    int nAfter = seam;
    while (nAfter < text.size() && text[nAfter] != '<' && text[nAfter] != '>') {
        ++nAfter;
    }
    if (text[nBefore] == '>') {
        return true;
    }
    const QByteArray tag = text.mid(nBefore, nAfter - nBefore + 1);
    if (tag.startsWith("</")) {
        return tag.endsWith('>');
    }
    QXmlStreamReader reader(QString::fromLatin1(tag));
    reader.readNext();
    return reader.readNext() == QXmlStreamReader::StartElement;
}

bool contains(const QVector<FlatEntry>& entries, const QString& content)
{
    return std::any_of(entries.begin(), entries.end(),
                       [&](const FlatEntry& each) { return each.strContent == content; });
}

QString nameAndValue(const FlatEntry& entry)
{
    return entry.strName + '=' + entry.strContent;
}

const QVector<QPair<QString, QString>>& entryPaths()
{
    static const QVector<QPair<QString, QString>> s_paths {
        { "LayoutWindow", "DefaultLayout" },
        { "LayoutTemplate", "LayoutTemplates" },
        { "tradeLayoutTemplate", "tradeLayoutTemplates" },
        { "Settings", "Option" },
        { "Custom", "CustomStock/Customs" },
        { "itemLayout", "IndexPositionLayout/ValuePanelGroupLayout" }
    };
    return s_paths;
}

QString within(const QString& path, const QString& text)
{
    QString strText = text;
    const QStringList names = path.split('/');
    for (auto it = names.rbegin(); it != names.rend(); ++it) {
        strText = '<' + *it + '>' + strText + "</" + *it + '>';
    }
    return strText;
}

// What the readers of this format make of an element, of an option its name and value.
QSet<QString> contentsOf(const QByteArray& element)
{
    const QString strText = QString::fromUtf8(element);
    const auto read = [](const QString& sections) {
        return flatUser(KW::recordsOf(KW::parseUserDocument(QStringLiteral("<ICUserConfigFile>")
                                                            + sections + "</ICUserConfigFile>")
                                          .document));
    };
    QSet<QString> contents;
    const auto add = [&](const FlatUser& user, const QString& path) {
        for (const FlatEntry& each : user[path]) {
            contents.insert(path == KW::c_szOption ? nameAndValue(each) : each.strContent);
        }
    };
    const FlatUser bare = read({});
    const FlatUser sections = read(strText);
    for (const QString& path : sections.keys()) {
        if (!(sections[path] == bare[path])) {
            add(sections, path);
        }
    }
    for (const auto& [strTag, strPath] : entryPaths()) {
        if (strText.startsWith('<' + strTag + ' ')) {
            add(read(within(strPath, strText)),
                strPath == "CustomStock/Customs" ? "CustomStock" : strPath);
        }
    }
    return contents;
}

QVector<int> seams(const Damage& damage)
{
    return damage.block.isEmpty() ? QVector<int> { damage.nAt }
                                  : QVector<int> { damage.nAt, damage.nAt + damage.block.size() };
}

bool cuts(int begin, int end, int at)
{
    return begin < at && at < end;
}

} // namespace

// Where something begins in the damaged file that a seam goes through: elements, and options.
QVector<int> CTruth::falseBegins(const Damage& damage) const
{
    QVector<int> begins;
    const auto add = [&](int begin, int end) {
        if (cuts(begin, end, damage.nAt)) {
            begins.append(begin);
        }
        const int nLast = damage.nSource + damage.block.size();
        if (begin >= damage.nSource && cuts(begin, end, nLast)) {
            begins.append(begin - damage.nSource + damage.nAt);
        }
    };
    for (const Element& each : m_elements) {
        add(each.all.nBegin, each.all.nEnd);
    }
    for (const Entry& each : m_holders[KW::c_szOption].entries) {
        add(each.all.nBegin, each.all.nEnd);
    }
    return begins;
}

QSet<QString> CTruth::falseContents(const Damage& damage) const
{
    const QByteArray text = damaged(m_text, damage);
    QSet<QString> contents;
    for (const int nBegin : falseBegins(damage)) {
        if (text[nBegin] == '<') {
            const QByteArray element = elementAt(text, nBegin);
            contents += element.isEmpty() ? QSet<QString>() : contentsOf(element);
            continue;
        }
        const int nValue = text.indexOf('"', nBegin);
        const QByteArray option = text.mid(nBegin, text.indexOf('"', nValue + 1) + 1 - nBegin);
        contents += contentsOf("<Settings " + option + "/>");
    }
    return contents;
}

// Beside a seam that does not show nothing tells on which side an entry stands. The last option
// before a seam may end in another value.
bool CTruth::isExempt(const QString& path, const Entry& entry, const Damage& damage) const
{
    const Holder& holder = m_holders[path];
    if (holder.strKind == "option") {
        return entry.all.nEnd <= damage.nAt && damage.nAt < m_elements[holder.nElement].all.nEnd
            && m_text.mid(entry.all.nEnd, damage.nAt - entry.all.nEnd).count('"') < 2;
    }
    const QByteArray text = damaged(m_text, damage);
    const auto all = seams(damage);
    const Span at = m_elements[holder.nElement].all;
    const bool bBeside = cuts(at.nBegin, at.nEnd, damage.nAt)
        || cuts(at.nBegin, at.nEnd, damage.nAt + damage.nLength);
    return holder.strKind != "section" && bBeside
        && std::any_of(all.begin(), all.end(), [&](int seam) { return isHiddenAt(text, seam); });
}

QStringList CTruth::looseFaults(const QString& path, const Damage& damage,
                                const QVector<FlatEntry>& found, const QSet<QString>& falseOnes)
{
    const Holder& holder = m_holders[path];
    const bool bOption = holder.strKind == "option";
    const auto isFalse = [&](const FlatEntry& each) {
        return falseOnes.contains(bOption ? nameAndValue(each) : each.strContent);
    };
    QStringList faults;
    for (int i = 0; i < holder.entries.size(); ++i) {
        const Entry& each = holder.entries[i];
        const FlatEntry& mine = m_user[path][i];
        const bool bReplaced = std::any_of(found.begin(), found.end(), [&](const FlatEntry& other) {
            return other.strName == mine.strName && isFalse(other);
        });
        if (!damage.leaves(each.all.nBegin - (bOption ? 1 : 0), each.all.nEnd)
            || found.contains(mine) || (holder.bOnce && bReplaced)) {
            continue;
        }
        isExempt(path, each, damage) ? void(++m_nUnowned)
                                     : faults.append(path + ": lacks " + each.strName);
    }
    for (const FlatEntry& each : found) {
        const bool bKnown = bOption ? m_user[path].contains(each) || m_older[path].contains(each)
                                    : isKnown(path, each.strContent);
        m_nFalse += !bKnown && isFalse(each) ? 1 : 0;
        if (!bKnown && !isFalse(each)) {
            faults.append(path + ": made up " + each.strName + ' ' + each.strContent.left(200));
        }
    }
    return faults;
}

// In the older copy, or anywhere in the file among entries of its kind.
bool CTruth::isKnown(const QString& path, const QString& content) const
{
    bool bKnown = contains(m_older[path], content);
    for (auto it = m_holders.begin(); it != m_holders.end() && !bKnown; ++it) {
        bKnown = it->strKind == m_holders[path].strKind && contains(m_user[it.key()], content);
    }
    return bKnown;
}

QStringList CTruth::looseFaults(const Damage& damage, const mend::Salvage& salvage)
{
    const FlatUser found = flatUser(salvage.records);
    const QSet<QString> falseOnes = falseContents(damage);
    QMap<QString, QMap<QString, int>> told;
    for (const mend::SalvagedPart& part : salvage.table) {
        told[part.strSection][mend::sourceName(part.source)] += part.nCount;
    }
    QStringList faults;
    for (const QString& path : m_holders.keys()) {
        faults += looseFaults(path, damage, found[path], falseOnes);
        int nOlder = 0;
        for (const FlatEntry& each : found[path]) {
            nOlder += m_older[path].contains(each) && !m_user[path].contains(each) ? 1 : 0;
        }
        if (told[path]["older copy"] != nOlder
            || told[path]["file"] + nOlder != found[path].size()) {
            faults.append(QStringLiteral("%1: %2 of %3 are told to be from the older copy")
                              .arg(path)
                              .arg(told[path]["older copy"])
                              .arg(nOlder));
        }
    }
    return faults;
}

} // namespace truth
