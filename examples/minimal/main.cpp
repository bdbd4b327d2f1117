#include <indexuser/cpanelgrouplayoutconfig.h>
#include <indexuser/userconfigfactory.h>
#include <indexuser/userconfiginterface.h>
#include <standalone/standalone.h>

#include <QTextStream>

int main(int argc, char** argv)
{
    standalone::setConfigDir(argc > 1 ? argv[1] : ".");
    KW::UserConfigInterface* const pConfig = KW::UserConfigFactory::getIndexUserConfig();
    pConfig->loadSettings();
    for (const QString& name : pConfig->getLayoutConfig()->getQuoteLayoutTemplate()) {
        QTextStream(stdout) << name << '\n';
    }
    return 0;
}
