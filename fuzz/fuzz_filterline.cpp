// A line of sector filters: what is called in order is read and written as it stands.

#include "fuzzkit.h"

#include <indexuser/cuserconfigmanager.h>
#include <inspect/filterline.h>

namespace {

class COpenManager : public KW::CUserConfigManager {
public:
    using KW::CUserConfigManager::loadSectorFilterConfig;
    using KW::CUserConfigManager::saveSectorFilterConfig;
};

QString throughTheTable(const QString& line)
{
    QDomDocument doc;
    QDomElement root = doc.createElement("root");
    QDomElement section = doc.createElement("SectorFilter");
    QDomElement group = doc.createElement("sectorFilter");
    group.setAttribute("param", line);
    root.appendChild(section).appendChild(group);
    COpenManager manager;
    manager.loadSectorFilterConfig(root);
    QDomElement written = doc.createElement("SectorFilter");
    manager.saveSectorFilterConfig(written, doc);
    return written.firstChildElement().attribute("param");
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    const QString strLine
        = QString::fromUtf8(reinterpret_cast<const char*>(data), static_cast<int>(size));
    const QString strOnce = throughTheTable(strLine);
    if (inspect::filterLineError(strLine).isEmpty()) {
        fuzzkit::require(strOnce.count(':') == strLine.count(':')
                             && strOnce.count(',') == strLine.count(','),
                         strLine + " -> " + strOnce);
        fuzzkit::require(throughTheTable(strOnce) == strOnce, strOnce);
    }
    return 0;
}
