#include "platform/commonutil.h"

#include <boost/algorithm/string.hpp>

#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <limits>
#include <map>
#include <utility>

namespace utils {

namespace {

// Sections and keys without regard to the case of ASCII letters.
using Name = std::pair<std::string, std::string>;
using Entries = std::map<Name, std::string>;

std::string trimmed(const std::string& text)
{
    return boost::algorithm::trim_copy(text, std::locale::classic());
}

std::string folded(const std::string& text)
{
    return boost::algorithm::to_lower_copy(trimmed(text), std::locale::classic());
}

// Editors on Windows put a byte order mark before the first section.
void skipByteOrderMark(std::istream& in)
{
    std::string strStart(3, '\0');
    in.read(&strStart[0], 3);
    if (strStart != "\xef\xbb\xbf") {
        in.clear();
        in.seekg(0);
    }
}

// By hand, since the readers at hand do not read such a file as its writer meant it: Boost's and
// GLib's refuse all of it for one double key or stray line, QSettings takes the last of two keys.
// Like the reader of Windows: the first of two keys, and a line that says nothing is passed over.
Entries readEntries(std::istream& in)
{
    Entries entries;
    std::string strSection;
    for (std::string strLine; std::getline(in, strLine);) {
        strLine = trimmed(strLine);
        const auto nEquals = strLine.find('=');
        const auto nEnd = strLine.find(']');
        // Without its end it is no header, and the section before it goes on.
        if (!strLine.empty() && strLine.front() == '[' && nEnd != std::string::npos) {
            strSection = folded(strLine.substr(1, nEnd - 1));
        } else if (nEquals != std::string::npos) {
            // The key of a comment begins with its mark, and nobody asks for such a name.
            entries.emplace(Name(strSection, folded(strLine.substr(0, nEquals))),
                            trimmed(strLine.substr(nEquals + 1)));
        }
    }
    return entries;
}

// A pair of quotes of either kind.
std::string unquoted(const std::string& text)
{
    const bool bQuoted = text.size() >= 2 && text.front() == text.back()
        && (text.front() == '"' || text.front() == '\'');
    return bQuoted ? text.substr(1, text.size() - 2) : text;
}

// What stands behind the digits says nothing; without digits there is no number.
int leadingNumber(const std::string& text, int defaultValue)
{
    const char* const pBegin = text.c_str();
    char* pEnd = nullptr;
    errno = 0;
    const long long nValue = std::strtoll(pBegin, &pEnd, 10);
    const bool bInRange = errno == 0 && nValue >= std::numeric_limits<int>::min()
        && nValue <= std::numeric_limits<int>::max();
    return pEnd != pBegin && bInRange ? static_cast<int>(nValue) : defaultValue;
}

} // namespace

Configuration::Configuration(std::string path, bool)
    : m_strPath(std::move(path))
{
}

bool Configuration::load(std::string path)
{
    m_pContent.reset();
    std::ifstream file(path.empty() ? m_strPath : path, std::ios::binary);
    if (!file) {
        return false;
    }
    skipByteOrderMark(file);
    Entries entries = readEntries(file);
    if (file.bad()) {
        return false;
    }
    m_pContent = std::make_shared<const Entries>(std::move(entries));
    return true;
}

int Configuration::readInt(std::string section, std::string key, int defaultValue)
{
    const auto* const pEntries = static_cast<const Entries*>(m_pContent.get());
    if (!pEntries) {
        return defaultValue;
    }
    const auto it = pEntries->find(Name(folded(section), folded(key)));
    return it == pEntries->end() ? defaultValue : leadingNumber(unquoted(it->second), defaultValue);
}

} // namespace utils
