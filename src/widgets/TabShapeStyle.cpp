#include "widgets/TabShapeStyle.h"

#include <QCoreApplication>
#include <QPainter>
#include <QPointer>
#include <QStyleOptionTab>
#include <QTabBar>

#include <array>
#include <iterator>

namespace Orvex {

namespace {

// Everything a tab's shape is drawn from: its size and rows (the selected tab's fill stops at the bar's
// edge), its side, place among the tabs and frame, its state and direction, the colours of the group it
// is drawn in, and the pixel ratio.
QByteArray keyOf(const QStyleOptionTab& a_tab, qreal a_ratio)
{
    constexpr QPalette::ColorRole roles[] = {
        QPalette::Window, QPalette::Button, QPalette::Light, QPalette::Midlight,  QPalette::Dark,
        QPalette::Mid,    QPalette::Shadow, QPalette::Base,  QPalette::Highlight, QPalette::WindowText};
    constexpr size_t Own = 9;
    std::array<quint32, Own + std::size(roles)> values{
        quint32(a_tab.rect.width()), quint32(a_tab.rect.height()), quint32(a_tab.rect.top()),
        quint32(a_tab.shape),        quint32(a_tab.position),      quint32(a_tab.features),
        quint32(a_tab.state),        quint32(a_tab.direction),     quint32(qRound(a_ratio * 100))};
    for (size_t role = 0; role < std::size(roles); ++role)
        values[Own + role] = a_tab.palette.color(roles[role]).rgba();
    return QByteArray(reinterpret_cast<const char*>(values.data()), int(sizeof(values)));
}

} // namespace

TabShapeStyle::TabShapeStyle() = default;

TabShapeStyle* TabShapeStyle::shared()
{
    static QPointer<TabShapeStyle> style;
    if (!style) {
        style = new TabShapeStyle;
        style->setParent(QCoreApplication::instance());
    }
    return style;
}

bool TabShapeStyle::keeps(const QPainter* a_painter) const
{
    return a_painter->transform().type() <= QTransform::TxTranslate &&
           a_painter->compositionMode() == QPainter::CompositionMode_SourceOver &&
           a_painter->opacity() == 1.0 &&
           baseStyle()->objectName().compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
}

void TabShapeStyle::drawControl(ControlElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                                const QWidget* a_widget) const
{
    const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(a_option);
    // Tabs on the left or right are turned; they are few and drawn as they come.
    if (a_element != CE_TabBarTabShape || !tab || !keeps(a_painter) ||
        (tab->shape != QTabBar::RoundedNorth && tab->shape != QTabBar::RoundedSouth)) {
        QProxyStyle::drawControl(a_element, a_option, a_painter, a_widget);
        return;
    }
    // What the shape may touch: the overlap with the next tab, an outline half a pixel out, and the
    // selected tab's fill, which reaches as far as the tab is high beyond its edge on the bar's side.
    const QRect& rect = tab->rect;
    const int overlap = pixelMetric(PM_TabBarTabOverlap, tab, a_widget);
    const QRect reach = rect.adjusted(-2 - overlap, -rect.height() - 2, overlap + 2, rect.height() + 2);
    const qreal ratio = a_painter->device() ? a_painter->device()->devicePixelRatioF() : 1.0;
    const QByteArray key = keyOf(*tab, ratio);
    auto kept = m_pictures.constFind(key);
    if (kept == m_pictures.constEnd()) {
        QPixmap picture(reach.size() * ratio);
        picture.setDevicePixelRatio(ratio);
        picture.fill(Qt::transparent);
        {
            // Drawn where it would be drawn, into a picture of the part of the bar it covers.
            QPainter painter(&picture);
            painter.translate(-reach.topLeft());
            QProxyStyle::drawControl(CE_TabBarTabShape, tab, &painter, a_widget);
        }
        if (m_pictures.size() >= KeptPictures)
            m_pictures.clear();
        kept = m_pictures.insert(key, picture);
    }
    a_painter->drawPixmap(reach.topLeft(), *kept);
}

} // namespace Orvex
