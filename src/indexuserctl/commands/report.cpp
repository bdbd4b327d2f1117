#include "commands/wholefile.h"
#include "terminal/output.h"

#include <inspect/report.h>

ExitStatus report(const Request& request)
{
    liveFile(request);
    const QByteArray page = inspect::report(request.strConfigDir, QDateTime::currentDateTime());
    writeFile(request, request.strOut, harmlessPage(page));
    return ExitStatus::Ok;
}
