#include "truth.h"

#include <format/sections.h>
#include <format/userdocument.h>

#include <QXmlStreamReader>

#include <algorithm>

namespace truth {

namespace {

// Byte for byte, so that the reader's offsets are those of bytes.
QString latin(const QByteArray& text)
{
    return QString::fromLatin1(text);
}

QString rowText(const mend::SalvagedPart& part)
{
    QStringList names = part.names;
    names.sort();
    return QStringLiteral("%1: %2 %3/%4 %5 [%6] +%7")
        .arg(part.strSection, mend::kindName(part.kind))
        .arg(part.nCount)
        .arg(part.nOfAll)
        .arg(mend::sourceName(part.source), names.join(','))
        .arg(part.nNameless);
}

QString row(const QString& path, const QString& kind, const char* pszSource, int count, int all,
            QStringList names = {}, int nameless = 0)
{
    names.sort();
    return QStringLiteral("%1: %2 %3/%4 %5 [%6] +%7")
        .arg(path, kind)
        .arg(count)
        .arg(all)
        .arg(pszSource, names.join(','))
        .arg(nameless);
}

void sortByName(QVector<FlatEntry>& entries)
{
    std::sort(entries.begin(), entries.end(), [](const auto& left, const auto& right) {
        return std::tie(left.strName, left.strContent) < std::tie(right.strName, right.strContent);
    });
}

} // namespace

bool Damage::leaves(int begin, int end) const
{
    return end <= nAt || begin >= nAt + nLength;
}

QString Damage::text() const
{
    static const QStringList s_names { "cut", "zeros", "garbage", "copied", "missing" };
    return QStringLiteral("%1, %2 at %3")
        .arg(s_names[static_cast<int>(kind)])
        .arg(nLength)
        .arg(nAt);
}

QByteArray damaged(const QByteArray& text, const Damage& damage)
{
    return text.left(damage.nAt) + damage.block + text.mid(damage.nAt + damage.nLength);
}

CTruth::CTruth(const QByteArray& text, const KW::UserRecords& older)
    : m_text(text)
    , m_user(flatUser(KW::recordsOf(KW::parseUserDocument(QString::fromUtf8(text)).document)))
    , m_older(flatUser(older))
{
    readElements();
    readHolders();
}

void CTruth::readElements()
{
    QXmlStreamReader reader(latin(m_text));
    QVector<int> open;
    while (!reader.atEnd()) {
        const auto token = reader.readNext();
        const int nOffset = static_cast<int>(reader.characterOffset());
        if (token == QXmlStreamReader::StartElement) {
            const int nBegin = m_text.lastIndexOf('<', nOffset - 1);
            m_elements.append({ reader.name().toUtf8(),
                                { nBegin, 0 },
                                m_text.indexOf('>', nBegin) + 1,
                                open.isEmpty() ? -1 : open.last() });
            open.append(m_elements.size() - 1);
        } else if (token == QXmlStreamReader::EndElement) {
            m_elements[open.takeLast()].all.nEnd = nOffset;
        }
    }
    for (const Element& each : qAsConst(m_elements)) {
        if (reader.hasError() || m_text[each.all.nBegin] != '<'
            || m_text[each.all.nEnd - 1] != '>') {
            qFatal("the file is not as the test takes it to be");
        }
    }
}

void CTruth::readHolders()
{
    for (int i = 0; i < m_elements.size(); ++i) {
        const QString strTag = m_elements[i].tag;
        const KW::Section* const pSection = KW::findSection(strTag);
        if (strTag.endsWith("PanelGroupLayout")) {
            addHolder("IndexPositionLayout/" + strTag, "panel group", "key", i);
        } else if (strTag == "Customs") {
            addHolder("CustomStock", "stock list", "type", i);
        } else if (m_elements[i].nParent != 0 || pSection == nullptr) {
            continue;
        } else if (strTag.endsWith("LayoutTemplates")) {
            addHolder(strTag, "template", "name", i);
        } else if (!pSection->strWindowTag.isEmpty() && strTag != "IndexPositionLayout") {
            addHolder(strTag, "window", "panelgroup_id", i);
        } else if (strTag == KW::c_szOption) {
            addOptions(i);
        } else if (m_user.contains(strTag)) {
            const Entry whole { strTag, 0, i, m_elements[i].all, 0 };
            m_holders.insert(strTag, { i, i, true, "section", { whole } });
        }
    }
}

void CTruth::addHolder(const QString& path, const char* pszKind, const char* pszKey, int element)
{
    const int nParent = m_elements[element].nParent;
    const bool bOnce = path.contains('/') || path == KW::c_szCustomStock;
    Holder holder { nParent == 0 ? element : nParent, element, bOnce, pszKind, {} };
    QMap<QString, int> numbers;
    for (int i = element + 1; i < m_elements.size(); ++i) {
        const Element& each = m_elements[i];
        if (each.nParent != element) {
            continue;
        }
        const int nKey = m_text.indexOf(' ' + QByteArray(pszKey) + "=\"", each.all.nBegin) + 1;
        const int nValue = nKey + static_cast<int>(qstrlen(pszKey)) + 2;
        const int nEnd = m_text.indexOf('"', nValue);
        const QString strName = QString::fromUtf8(m_text.mid(nValue, nEnd - nValue))
                                    .replace("&quot;", "\"")
                                    .replace("&amp;", "&");
        holder.entries.append({ strName, numbers[strName]++, i, each.all, nEnd + 1 });
    }
    m_holders.insert(path, holder);
}

void CTruth::addOptions(int section)
{
    Holder holder { section, section, true, "option", {} };
    const int nTag = m_elements[section + 1].all.nBegin;
    for (const FlatEntry& each : qAsConst(m_user[KW::c_szOption])) {
        const QByteArray begin = ' ' + each.strName.toUtf8() + "=\"";
        const int nBegin = m_text.indexOf(begin, nTag) + 1;
        const int nEnd = m_text.indexOf('"', nBegin + begin.size() - 1) + 1;
        if (nBegin == 0 || nEnd > m_elements[section + 1].nTagEnd) {
            qFatal("the file is not as a save writes it");
        }
        holder.entries.append({ each.strName, 0, -1, { nBegin, nEnd }, 0 });
    }
    m_holders.insert(KW::c_szOption, holder);
}

CTruth::Expected CTruth::expectedOptions(const Damage& damage) const
{
    const Holder& holder = m_holders[KW::c_szOption];
    const Span section = m_elements[holder.nSection].all;
    const bool bWhole = damage.leaves(section.nBegin, section.nEnd);
    QSet<QString> there;
    for (const Entry& each : holder.entries) {
        // Behind a tear an attribute has to have its space in front of it.
        if (bWhole || damage.leaves(each.all.nBegin - 1, each.all.nEnd)
            || each.all.nEnd <= damage.nAt) {
            there.insert(each.strName);
        }
    }
    const QSet<QString> graphs { "graphDisplay", "m_graphDisplay" };
    if (there.intersects(graphs)) {
        there += graphs;
    }
    Expected all;
    QStringList rest;
    for (int i = 0; i < holder.entries.size(); ++i) {
        const bool bThere = there.contains(holder.entries[i].strName);
        all.entries.append((bThere ? m_user : m_older)[KW::c_szOption][i]);
        rest += bThere ? QStringList() : QStringList(holder.entries[i].strName);
    }
    const int nAll = holder.entries.size();
    if (!there.isEmpty()) {
        all.rows.append(row(KW::c_szOption, "option", "file", there.size(), nAll));
    }
    if (!rest.isEmpty()) {
        all.rows.append(row(KW::c_szOption, "option", "older copy", rest.size(), nAll, rest));
    }
    return all;
}

CTruth::Left CTruth::left(const QString& path, const Damage& damage) const
{
    const Holder& holder = m_holders[path];
    Left left;
    for (int i = 0; i < holder.entries.size(); ++i) {
        const Entry& each = holder.entries[i];
        const QPair<QString, int> id { each.strName, each.nNumber };
        const int nTag = each.all.nBegin + 1 + m_elements[each.nElement].tag.size();
        if (damage.leaves(each.all.nBegin, each.all.nEnd)) {
            left.entries.append(m_user[path][i]);
            left.whole.insert(id);
        } else if (holder.strKind != "section" && nTag <= damage.nAt) {
            each.nKnown <= damage.nAt ? void(left.torn.insert(id)) : void(++left.nNameless);
        }
    }
    return left;
}

CTruth::Expected CTruth::filled(const QString& path, Left left) const
{
    QStringList filled;
    QMap<QString, int> numbers;
    for (const FlatEntry& each : m_older[path]) {
        const int nNumber = m_holders[path].bOnce ? 0 : numbers[each.strName]++;
        if (!left.whole.contains({ each.strName, nNumber })) {
            left.entries.append(each);
            filled.append(each.strName);
        }
        left.torn.remove({ each.strName, nNumber });
    }
    QStringList lost;
    for (const auto& id : qAsConst(left.torn)) {
        lost.append(id.first);
    }
    const int nAll = left.entries.size() + lost.size();
    const QString strKind = m_holders[path].strKind;
    Expected all { left.entries, {} };
    if (!left.whole.isEmpty()) {
        all.rows.append(row(path, strKind, "file", left.whole.size(), nAll));
    }
    if (!filled.isEmpty()) {
        all.rows.append(row(path, strKind, "older copy", filled.size(), nAll, filled));
    }
    if (!lost.isEmpty() || left.nNameless > 0) {
        all.rows.append(row(path, strKind, "lost", lost.size(), nAll, lost, left.nNameless));
    }
    return all;
}

CTruth::Expected CTruth::expected(const QString& path, const Damage& damage) const
{
    const Holder& holder = m_holders[path];
    const auto isWhole = [&](int element) {
        return damage.leaves(m_elements[element].all.nBegin, m_elements[element].all.nEnd);
    };
    if (!isWhole(holder.nSection) && !isWhole(holder.nElement)) {
        return filled(path, left(path, damage));
    }
    const int nAll = m_user[path].size();
    return { m_user[path], { row(path, holder.strKind, "file", nAll, nAll) } };
}

QStringList CTruth::faults(const Damage& damage, const mend::Salvage& salvage)
{
    return damage.isUnmistakable() ? exactFaults(damage, salvage) : looseFaults(damage, salvage);
}

QStringList CTruth::exactFaults(const Damage& damage, const mend::Salvage& salvage) const
{
    const FlatUser found = flatUser(salvage.records);
    QStringList faults;
    QStringList rows;
    for (const QString& path : m_holders.keys()) {
        Expected all = path == KW::c_szOption ? expectedOptions(damage) : expected(path, damage);
        QVector<FlatEntry> is = found[path];
        if (m_holders[path].bOnce) {
            sortByName(all.entries);
            sortByName(is);
        }
        if (!(is == all.entries)) {
            faults.append(path + ": other entries than there should be");
        }
        rows += all.rows;
    }
    QStringList told;
    for (const mend::SalvagedPart& part : salvage.table) {
        told.append(rowText(part));
    }
    for (const QString& each :
         QSet<QString>(rows.begin(), rows.end()) - QSet<QString>(told.begin(), told.end())) {
        faults.append("not told: " + each);
    }
    for (const QString& each :
         QSet<QString>(told.begin(), told.end()) - QSet<QString>(rows.begin(), rows.end())) {
        faults.append("told wrongly: " + each);
    }
    return faults + (told.size() == rows.size() ? QStringList() : QStringList("rows told twice"));
}

} // namespace truth
