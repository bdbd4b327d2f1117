#pragma once

#include <string>

namespace rxservice {

/// An instrument; texts are UTF-8.
struct CInstrumentDetail {
    std::string market;
    std::string code;
    std::string name;
};

} // namespace rxservice
