#include "ElementFixtures.h"

#include <QApplication>
#include <QLayout>
#include <QTest>
#include <QWidget>

namespace OrvexTest {

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
