#include "BoardFixtures.h"

#include "platform/QNDriver.h"

#include <QCoreApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QSettings>
#include <QStandardPaths>
#include <QTest>

namespace OrvexTest {

void isolateSettings(const QString& a_application)
{
    QStandardPaths::setTestModeEnabled(true);
    QCoreApplication::setOrganizationName(QStringLiteral("Quarnel"));
    QCoreApplication::setApplicationName(a_application);
    QSettings().clear();
}

bool writeFile(const QString& a_path, const QByteArray& a_contents)
{
    QFile file(a_path);
    return QDir().mkpath(QFileInfo(a_path).path()) && file.open(QIODevice::WriteOnly | QIODevice::Truncate) &&
           file.write(a_contents) == a_contents.size();
}

QByteArray field(const char* a_name)
{
    return *static_cast<QByteArray*>(QTest::qData(a_name, qMetaTypeId<QByteArray>()));
}

bool loadSimBoards(const QString& a_path, const QByteArray& a_json)
{
    if (!writeFile(a_path, a_json))
        return false;
    qputenv("QN_SIM_BOARDS", QFile::encodeName(a_path));
    QNSimReload();
    return true;
}

} // namespace OrvexTest
