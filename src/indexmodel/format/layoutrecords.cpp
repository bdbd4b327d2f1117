#include "format/layoutrecords.h"

namespace KW {

CLayoutWindow::~CLayoutWindow() = default;

} // namespace KW
