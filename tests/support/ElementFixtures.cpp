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
