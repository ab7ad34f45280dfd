#include "TestSupport.h"

#include <QDir>
#include <QProcess>

namespace OrvexTest {

QString sourcePath(const QString& a_relative)
{
    return QDir(QStringLiteral(ORVEX_SOURCE_DIR)).filePath(a_relative);
}

int runXmllint(const QString& a_file, const QString& a_schema, QString* a_output)
{
    QStringList args{QStringLiteral("--noout"), QStringLiteral("--nonet")};
    if (!a_schema.isEmpty())
        args << QStringLiteral("--schema") << a_schema;
    args << a_file;
    QProcess process;
    process.setProcessChannelMode(QProcess::MergedChannels);
    process.start(QStringLiteral("xmllint"), args);
    if (!process.waitForStarted() || !process.waitForFinished(60000))
        return -1;
    if (a_output)
        *a_output = QString::fromLocal8Bit(process.readAll());
    return process.exitStatus() == QProcess::NormalExit ? process.exitCode() : -1;
}

} // namespace OrvexTest
