#include "UndoFixtures.h"

#include "TestSupport.h"

#include <QFile>
#include <QTest>

namespace OrvexTest {

void addTableRows(const QString& a_relative, int a_columns)
{
    QFile file(sourcePath(a_relative));
    QVERIFY2(file.open(QIODevice::ReadOnly | QIODevice::Text), qPrintable(file.fileName()));
    for (const QString& line : QString::fromUtf8(file.readAll()).split(QLatin1Char('\n'))) {
        if (line.trimmed().isEmpty() || line.startsWith(QLatin1Char('#')))
            continue;
        QStringList fields = line.split(QStringLiteral(" | "));
        QVERIFY2(fields.size() >= a_columns, qPrintable(QStringLiteral("too few fields: ") + line));
        fields[a_columns - 1] = fields.mid(a_columns - 1).join(QStringLiteral(" | "));
        QTestData& row = QTest::newRow(qPrintable(fields.at(0)));
        for (int column = 1; column < a_columns; ++column)
            row << fields.at(column);
    }
}

} // namespace OrvexTest
