#include "ElementFixtures.h"

#include "TestSupport.h"

#include <QApplication>
#include <QFile>
#include <QLayout>
#include <QMetaEnum>
#include <QTest>
#include <QWidget>

namespace OrvexTest {

QStringList goldenLines(const QString& a_relative)
{
    QFile file(sourcePath(a_relative));
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return {QStringLiteral("cannot read ") + file.fileName()};
    QStringList lines = QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'));
    if (!lines.isEmpty() && lines.last().isEmpty())
        lines.removeLast();
    return lines;
}

void addTextRows(const QString& a_relative)
{
    // Qt keeps the column names by their address.
    static QList<QByteArray> s_names;
    bool header = true;
    for (const QString& line : goldenLines(a_relative)) {
        if (line.trimmed().isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList fields{QString()};
        for (int i = 0; i < line.size(); ++i) {
            const QChar next = i + 1 < line.size() ? line[i + 1] : QChar();
            if (line[i] == QLatin1Char('|'))
                fields << QString();
            else if (line[i] != QLatin1Char('\\'))
                fields.last() += line[i];
            else if (++i < line.size())
                fields.last() += next == 'n' ? QChar('\n') : next == 't' ? QChar('\t') : next;
        }
        for (QString& field : fields) {
            field = field.trimmed();
            if (field.size() > 1 && field.startsWith('"') && field.endsWith('"'))
                field = field.mid(1, field.size() - 2);
        }
        if (header) {
            for (const QString& column : fields.mid(1)) {
                s_names << column.toUtf8();
                QTest::addColumn<QString>(s_names.last().constData());
            }
            header = false;
            continue;
        }
        QTestData& row = QTest::newRow(qPrintable(fields.first()));
        for (const QString& field : fields.mid(1))
            row << field;
    }
}

QString rowText(const char* a_name)
{
    return *static_cast<QString*>(QTest::qData(a_name, qMetaTypeId<QString>()));
}

bool rowFlag(const char* a_name)
{
    return rowText(a_name) == QLatin1String("true");
}

Qt::Key keyNamed(const QString& a_name)
{
    return Qt::Key(QMetaEnum::fromType<Qt::Key>().keyToValue(qPrintable(QStringLiteral("Key_") + a_name)));
}

bool HolderElement::show(Orvex::FeatureElementBase& a_feature, bool a_activate)
{
    if (!widget()) {
        setWidget(new QWidget);
        new QVBoxLayout(widget());
    }
    widget()->layout()->addWidget(a_feature.createWidget());
    widget()->show();
    if (!a_activate)
        return QTest::qWaitForWindowExposed(widget());
    QApplication::setActiveWindow(widget());
    return QTest::qWaitForWindowActive(widget());
}

} // namespace OrvexTest
