// floor FILE OUT: what reading and writing a file costs with bare Qt.

#include <QDomDocument>
#include <QFile>

int main(int argc, char** argv)
{
    QFile in(QString::fromLocal8Bit(argc > 2 ? argv[1] : ""));
    QFile out(QString::fromLocal8Bit(argc > 2 ? argv[2] : ""));
    QDomDocument doc;
    const bool bDone = in.open(QIODevice::ReadOnly) && doc.setContent(in.readAll())
        && out.open(QIODevice::WriteOnly) && out.write(doc.toString(4).toUtf8()) > 0 && out.flush();
    return bDone ? 0 : 1;
}
