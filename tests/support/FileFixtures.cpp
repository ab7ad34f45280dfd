#include "FileFixtures.h"

#include "TestSupport.h"
#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"
#include "model/ExceptionBase.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

namespace OrvexTest {

namespace {

QString shippedSchema(bool a_cameraLink)
{
    return sourcePath(a_cameraLink ? QStringLiteral("config/Vrm/LUMEX-CL.xsd")
                                   : QStringLiteral("config/Pld/LUMEX-CXP.xsd"));
}

} // namespace

QByteArray fileBytes(const QString& a_path)
{
    QFile file(a_path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

QString writtenFile(const QString& a_path, const QByteArray& a_bytes)
{
    QFile file(a_path);
    if (file.open(QIODevice::WriteOnly))
        file.write(a_bytes);
    return a_path;
}

void addFolderRows(const QString& a_relative)
{
    QTest::addColumn<QString>("folder");
    const QDir cases(sourcePath(a_relative));
    for (const QString& name : cases.entryList(QDir::Dirs | QDir::NoDotAndDotDot))
        QTest::newRow(qPrintable(name)) << cases.filePath(name);
}

QString thrownText(const std::function<void()>& a_call)
{
    try {
        a_call();
    } catch (const Orvex::ExceptionBase& a_error) {
        return QString::fromUtf8(a_error.what())
            .replace(QRegularExpression(QStringLiteral("\\[\\d+\\]")), QStringLiteral("[]"));
    }
    return QString();
}

Orvex::FeatureElementBase* CameraDocument::global(const QString& a_name)
{
    return camera()->globalCategory()->feature(a_name);
}

void CameraDocument::load(const QString& a_file, const QString& a_schema,
                          const std::function<void()>& a_beforeValues)
{
    Orvex::LumexParser parser(a_file, &tree, nullptr);
    schema = !a_schema.isEmpty() ? a_schema : shippedSchema(parser.isCameraLink());
    Orvex::SchemaParser schemaParser(nullptr, &tree, nullptr, schema);
    schemaParser.loadCamera(camera());
    if (a_beforeValues)
        a_beforeValues();
    parser.parse(camera());
}

bool CameraDocument::save(const QString& a_file, bool a_extraData)
{
    Orvex::LumexPrinter printer(nullptr, &tree);
    const QString cameraLink = shippedSchema(true);
    printer.setSchemaPaths(schema == cameraLink ? QString() : schema, cameraLink);
    printer.setPreserveExtraData(a_extraData);
    printer.print(camera());
    return printer.save(a_file);
}

} // namespace OrvexTest
