#pragma once

#include "documents.h"

#include <pugixml.hpp>

namespace bench {

/// The same content in what users would otherwise take. Each write ends with a durable file, and
/// is the whole of what its caller waits for.
struct Peer {
    const char* pszName;
    void (*write)(const QString& path, const Settings& settings);
    /// How much it finds there, and how much that has to be.
    int (*read)(const QString& path);
    int (*expected)(const Settings& settings);
};

extern const Peer c_qsettings;
extern const Peer c_kconfig;
extern const Peer c_ptree;

// The very file that the library reads, read and forgotten; how many elements it has.
int ptreeElements(const QString& path);
int pugiElements(const QString& path);

/// The limit: a tree that is none of Qt's.
class CPugiTree {
public:
    explicit CPugiTree(const QString& path);
    int elementCount() const;
    /// A durable copy, and a copy of that as \a path.
    void save(const QString& path) const;

private:
    pugi::xml_document m_doc;
};

} // namespace bench
