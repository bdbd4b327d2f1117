#include "platform/commonutil.h"

#include <boost/property_tree/ini_parser.hpp>
#include <boost/property_tree/ptree.hpp>

#include <fstream>

namespace utils {

namespace {

using boost::property_tree::ptree;

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
    auto pTree = std::make_shared<ptree>();
    try {
        boost::property_tree::read_ini(file, *pTree);
    } catch (const boost::property_tree::ini_parser_error&) {
        return false;
    }
    m_pContent = std::move(pTree);
    return true;
}

int Configuration::readInt(std::string section, std::string key, int defaultValue)
{
    const auto* pTree = static_cast<const ptree*>(m_pContent.get());
    // A path separator that no name of an ini file holds: names may well hold dots.
    return pTree ? pTree->get(ptree::path_type(section + '\n' + key, '\n'), defaultValue)
                 : defaultValue;
}

} // namespace utils
