#include <roaming/postgresstore.h>

#include <QTextStream>

// Says how the server answers.
int main()
{
    roaming::CPostgresStore store({});
    const auto heads = store.heads();
    const bool bAway = heads.error.cause == roaming::StoreCause::Away;
    QTextStream(stdout) << (bAway ? "away: " : "there: ") << heads.error.strDetail << '\n';
    return 0;
}
