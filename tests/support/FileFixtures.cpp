#include "FileFixtures.h"

#include "ElementFixtures.h"
#include "TestSupport.h"
#include "fileio/LumexParser.h"
#include "fileio/LumexPrinter.h"
#include "fileio/SchemaParser.h"

#include <QDir>
#include <QFile>
#include <QRegularExpression>
#include <QTest>

#include <utility>

namespace OrvexTest {

static const QString s_cameraLink = QStringLiteral("config/Vrm/LUMEX-CL.xsd");

static QByteArray unescaped(QByteArray a_field)
{
    a_field = a_field.trimmed();
    if (a_field.size() >= 2 && a_field.startsWith('"') && a_field.endsWith('"'))
        a_field = a_field.mid(1, a_field.size() - 2);
    QByteArray bytes;
    for (int i = 0; i < a_field.size(); ++i) {
        const char next = i + 1 < a_field.size() && a_field[i] == '\\' ? a_field[++i] : '\0';
        if (next == 'x' && i + 2 < a_field.size())
            bytes += char(a_field.mid((i += 2) - 1, 2).toInt(nullptr, 16));
        else
            bytes += next == '\0' ? a_field[i] : next == 'n' ? '\n' : next == 't' ? '\t' : next;
    }
    return bytes;
}

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

// The fields of a line "tag | value | ...", unescaped; none for a blank or "#" line.
static QList<QByteArray> rowFields(const QByteArray& a_line)
{
    if (a_line.trimmed().isEmpty() || a_line.startsWith('#'))
        return {};
    QList<QByteArray> fields{QByteArray()};
    for (int i = 0; i < a_line.size(); ++i) {
        if (a_line[i] == '|')
            fields << QByteArray();
        else
            fields.last() += a_line.mid(i, a_line[i] == '\\' ? 2 : 1);
        i += a_line[i] == '\\' ? 1 : 0;
    }
    for (QByteArray& field : fields)
        field = unescaped(field);
    return fields;
}

void addTableRows(const QString& a_relative, const QStringList& a_columns)
{
    static QList<QByteArray> s_names; // Qt keeps the column names by their address.
    for (const QString& column : a_columns)
        QTest::addColumn<QByteArray>((s_names << column.toUtf8()).last().constData());
    for (const QByteArray& line : fileBytes(sourcePath(a_relative)).split('\n')) {
        const QList<QByteArray> fields = rowFields(line);
        if (fields.isEmpty())
            continue;
        QTestData& row = QTest::newRow(fields.first().constData());
        for (int column = 1; column <= a_columns.size(); ++column)
            row << fields.value(column);
    }
}

void addTextRows(const QString& a_relative)
{
    static QList<QByteArray> s_names; // Qt keeps the column names by their address.
    bool header = true;
    for (const QByteArray& line : fileBytes(sourcePath(a_relative)).split('\n')) {
        const QList<QByteArray> fields = rowFields(line);
        for (int column = 1; header && column < fields.size(); ++column)
            QTest::addColumn<QString>((s_names << fields[column]).last().constData());
        if (fields.isEmpty() || std::exchange(header, false))
            continue;
        QTestData& row = QTest::newRow(fields.first().constData());
        for (const QByteArray& field : fields.mid(1))
            row << QString::fromUtf8(field);
    }
}

QString thrownText(const std::function<void()>& a_call)
{
    try {
        a_call();
    } catch (const Orvex::ExceptionBase& a_error) {
        return QString::fromUtf8(a_error.what()).replace(QRegularExpression("\\[\\d+\\]"), "[]");
    }
    return QString();
}

void CameraDocument::load(const QString& a_file, const QString& a_schema,
                          const std::function<void()>& a_beforeValues)
{
    Orvex::LumexParser parser(a_file, &tree, nullptr);
    schema = !a_schema.isEmpty()     ? a_schema
             : parser.isCameraLink() ? sourcePath(s_cameraLink)
                                     : sourcePath(QStringLiteral("config/Pld/LUMEX-CXP.xsd"));
    Orvex::SchemaParser schemaParser(nullptr, &tree, nullptr, schema);
    schemaParser.loadCamera(camera());
    if (a_beforeValues)
        a_beforeValues();
    parser.parse(camera());
}

bool CameraDocument::save(const QString& a_file, bool a_extraData)
{
    Orvex::LumexPrinter printer(nullptr, &tree);
    printer.setSchemaPaths(schema == sourcePath(s_cameraLink) ? QString() : schema, sourcePath(s_cameraLink));
    printer.setPreserveExtraData(a_extraData);
    printer.print(camera());
    return printer.save(a_file);
}

} // namespace OrvexTest
