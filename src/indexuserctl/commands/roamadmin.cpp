#include "commands/roamstore.h"
#include "terminal/output.h"

#include <roaming/administration.h>

// What whoever administrates the server does. Each of its parts is a transaction of its own, so
// that there is nothing to take back.

ExitStatus roamInit(const Request& request)
{
    const auto done = required(roaming::initialise(connectionOf(request)));
    print({ { "tables",
              done.nFrom == done.nTo ? "The tables are up to date" : "The tables are made",
              { "from", "to" },
              { { done.nFrom, done.nTo } },
              TableShape::One } },
          request.format);
    return ExitStatus::Ok;
}

ExitStatus roamThin(const Request& request)
{
    const auto mode = request.isDryRun() ? roaming::Thinning::DryRun : roaming::Thinning::Real;
    const auto done = required(roaming::thin(connectionOf(request), mode));
    print({ { "thinned",
              request.isDryRun() ? "Would go" : "Gone",
              { "persons", "revisions", "contents", "bytes" },
              { { done.nPersons, done.nRevisions, done.nParts, done.nBytes } },
              TableShape::One } },
          request.format);
    return ExitStatus::Ok;
}
