#include "widgets/KeptDrawingStyle.h"

#include <QAbstractSpinBox>
#include <QApplication>
#include <QComboBox>
#include <QPainter>
#include <QStyleFactory>
#include <QStyleOption>
#include <QTextLayout>

#include <algorithm>
#include <iterator>
#include <vector>

namespace Orvex {

namespace {

// Whether the painter puts a_text on one line, each character as it comes: no line breaks, tabs or
// length variants, no shortcut marks it would take out, no spaces at the ends it would keep or drop, and
// nothing written right to left or needing reordering.
bool isPlainLine(const QString& a_text, int a_flags)
{
    if (a_text.isEmpty() || a_text.front().isSpace() || a_text.back().isSpace())
        return false;
    const bool mnemonics = a_flags & (Qt::TextShowMnemonic | Qt::TextHideMnemonic);
    for (const QChar character : a_text) {
        const ushort code = character.unicode();
        if (code < 0x20 || code == 0x7f || code == 0x9c || code >= 0x0590 ||
            (mnemonics && character == QLatin1Char('&')))
            return false;
    }
    return true;
}

// A cell that shows its text and nothing else: no box, no icon, no wrapping.
bool isTextCell(const QStyleOptionViewItem* a_item)
{
    return a_item && (a_item->features & QStyleOptionViewItem::HasDisplay) &&
           (a_item->features & ~(QStyleOptionViewItem::HasDisplay | QStyleOptionViewItem::Alternate)) == 0;
}

} // namespace

KeptDrawingStyle::KeptDrawingStyle(QStyle* a_base) : QProxyStyle(a_base)
{
}

void KeptDrawingStyle::install()
{
    QStyle* chosen = QApplication::style();
    if (!chosen || qobject_cast<KeptDrawingStyle*>(chosen))
        return;
    // A copy of its own: the proxy owns its base, and the application deletes the style it replaces.
    if (QStyle* base = QStyleFactory::create(chosen->objectName()))
        QApplication::setStyle(new KeptDrawingStyle(base));
}

bool KeptDrawingStyle::keeps(const QPainter* a_painter) const
{
    return a_painter->transform().type() <= QTransform::TxTranslate &&
           a_painter->compositionMode() == QPainter::CompositionMode_SourceOver &&
           a_painter->opacity() == 1.0 && drawsByOptions();
}

bool KeptDrawingStyle::drawsByOptions() const
{
    return baseStyle()->objectName().compare(QLatin1String("fusion"), Qt::CaseInsensitive) == 0;
}

QByteArray KeptDrawingStyle::keyOf(const QStyleOption& a_option, const QPainter* a_painter,
                                   std::initializer_list<quint32> a_own)
{
    constexpr QPalette::ColorRole roles[] = {QPalette::Window,     QPalette::WindowText,
                                             QPalette::Base,       QPalette::AlternateBase,
                                             QPalette::Text,       QPalette::Button,
                                             QPalette::ButtonText, QPalette::Light,
                                             QPalette::Midlight,   QPalette::Dark,
                                             QPalette::Mid,        QPalette::Shadow,
                                             QPalette::Highlight,  QPalette::HighlightedText,
                                             QPalette::BrightText};
    constexpr QPalette::ColorGroup groups[] = {QPalette::Active, QPalette::Inactive, QPalette::Disabled};
    const qreal ratio = a_painter->device() ? a_painter->device()->devicePixelRatioF() : 1.0;
    std::vector<quint32> values{quint32(a_option.rect.width()),
                                quint32(a_option.rect.height()),
                                quint32(a_option.state),
                                quint32(a_option.direction),
                                quint32(a_option.type),
                                quint32(a_option.version),
                                quint32(a_option.palette.currentColorGroup()),
                                quint32(a_option.fontMetrics.fontDpi() * 100),
                                quint32(qRound(ratio * 100))};
    values.insert(values.end(), a_own.begin(), a_own.end());
    for (const QPalette::ColorGroup group : groups) {
        for (const QPalette::ColorRole role : roles)
            values.push_back(a_option.palette.color(group, role).rgba());
    }
    return QByteArray(reinterpret_cast<const char*>(values.data()), int(values.size() * sizeof(quint32)));
}

void KeptDrawingStyle::drawKept(QPainter* a_painter, const QRect& a_reach, const QByteArray& a_key,
                                const std::function<void(QPainter*)>& a_draw) const
{
    auto kept = m_pictures.constFind(a_key);
    if (kept == m_pictures.constEnd()) {
        const qreal ratio = a_painter->device() ? a_painter->device()->devicePixelRatioF() : 1.0;
        QPixmap picture(a_reach.size() * ratio);
        picture.setDevicePixelRatio(ratio);
        picture.fill(Qt::transparent);
        {
            // Drawn where it would be drawn, into a picture of the part of the widget it covers.
            QPainter painter(&picture);
            painter.translate(-a_reach.topLeft());
            painter.setFont(a_painter->font());
            a_draw(&painter);
        }
        const qint64 bytes = qint64(picture.width()) * picture.height() * 4;
        if (m_pictures.size() >= KeptPictures || m_keptBytes + bytes > KeptBytes) {
            m_pictures.clear();
            m_keptBytes = 0;
        }
        m_keptBytes += bytes;
        kept = m_pictures.insert(a_key, picture);
    }
    a_painter->drawPixmap(a_reach.topLeft(), *kept);
}

void KeptDrawingStyle::drawPrimitive(PrimitiveElement a_element, const QStyleOption* a_option,
                                     QPainter* a_painter, const QWidget* a_widget) const
{
    const auto drawn = [&](QPainter* a_target) {
        QProxyStyle::drawPrimitive(a_element, a_option, a_target, a_widget);
    };
    if (!a_option || !keeps(a_painter)) {
        drawn(a_painter);
        return;
    }
    // Half a pixel of antialiased outline may fall beside the part's rectangle.
    const QRect reach = a_option->rect.adjusted(-1, -1, 1, 1);
    if (a_element == PE_IndicatorCheckBox && qstyleoption_cast<const QStyleOptionButton*>(a_option)) {
        drawKept(a_painter, reach, keyOf(*a_option, a_painter, {quint32(a_element)}), drawn);
        return;
    }
    // A tab bar's base line, broken under the selected tab, and the marks of tabs cut at its ends, drawn
    // at each switch of tab.
    if (const auto* base = qstyleoption_cast<const QStyleOptionTabBarBase*>(a_option);
        base && a_element == PE_FrameTabBarBase) {
        const QRect selected = base->selectedTabRect.translated(-base->rect.topLeft());
        const QRect bar = base->tabBarRect.translated(-base->rect.topLeft());
        drawKept(a_painter, reach,
                 keyOf(*a_option, a_painter,
                       {quint32(a_element), quint32(base->shape), quint32(base->documentMode),
                        quint32(selected.x()), quint32(selected.y()), quint32(selected.width()),
                        quint32(selected.height()), quint32(bar.x()), quint32(bar.y()), quint32(bar.width()),
                        quint32(bar.height())}),
                 drawn);
        return;
    }
    if (const auto* tab = qstyleoption_cast<const QStyleOptionTab*>(a_option);
        tab && (a_element == PE_IndicatorTabTearLeft || a_element == PE_IndicatorTabTearRight)) {
        drawKept(a_painter, reach, keyOf(*a_option, a_painter, {quint32(a_element), quint32(tab->shape)}),
                 drawn);
        return;
    }
    const auto* frame = qstyleoption_cast<const QStyleOptionFrame*>(a_option);
    // The line edit of a spin box or combo box has its panel drawn by its owner; which one, the style
    // learns from the line edit's parent.
    const QWidget* owner = a_widget ? a_widget->parentWidget() : nullptr;
    if (a_element == PE_PanelLineEdit && frame && !qobject_cast<const QAbstractSpinBox*>(owner) &&
        !qobject_cast<const QComboBox*>(owner)) {
        drawKept(a_painter, reach,
                 keyOf(*a_option, a_painter,
                       {quint32(a_element), quint32(frame->lineWidth), quint32(frame->midLineWidth),
                        quint32(frame->features), quint32(frame->frameShape)}),
                 drawn);
        return;
    }
    drawn(a_painter);
}

void KeptDrawingStyle::drawComplexControl(ComplexControl a_control, const QStyleOptionComplex* a_option,
                                          QPainter* a_painter, const QWidget* a_widget) const
{
    const auto drawn = [&](QPainter* a_target) {
        QProxyStyle::drawComplexControl(a_control, a_option, a_target, a_widget);
    };
    const auto* slider = qstyleoption_cast<const QStyleOptionSlider*>(a_option);
    // A scroll bar that fades in and out is drawn from its animation, which no option holds.
    if (a_control != CC_ScrollBar || !slider || !keeps(a_painter) ||
        styleHint(SH_ScrollBar_Transient, a_option, a_widget)) {
        drawn(a_painter);
        return;
    }
    drawKept(a_painter, slider->rect,
             keyOf(*slider, a_painter,
                   {quint32(a_control), quint32(slider->subControls), quint32(slider->activeSubControls),
                    quint32(slider->orientation), quint32(slider->minimum), quint32(slider->maximum),
                    quint32(slider->sliderPosition), quint32(slider->sliderValue),
                    quint32(slider->singleStep), quint32(slider->pageStep), quint32(slider->upsideDown)}),
             drawn);
}

void KeptDrawingStyle::drawItemText(QPainter* a_painter, const QRect& a_rect, int a_flags,
                                    const QPalette& a_palette, bool a_enabled, const QString& a_text,
                                    QPalette::ColorRole a_role) const
{
    if (a_text.isEmpty() || !keeps(a_painter)) {
        QProxyStyle::drawItemText(a_painter, a_rect, a_flags, a_palette, a_enabled, a_text, a_role);
        return;
    }
    // The pen as the Fusion style sets it, which draws disabled text in the colours it is given.
    const QPen saved = a_painter->pen();
    if (a_role != QPalette::NoRole)
        a_painter->setPen(QPen(a_palette.brush(a_role), saved.widthF()));
    if (!drawKeptText(a_painter, a_rect, a_flags, a_text))
        a_painter->drawText(a_rect, a_flags, a_text);
    a_painter->setPen(saved);
}

bool KeptDrawingStyle::drawKeptText(QPainter* a_painter, const QRect& a_rect, int a_flags,
                                    const QString& a_text) const
{
    constexpr int OtherLayouts = Qt::TextWordWrap | Qt::TextWrapAnywhere | Qt::TextJustificationForced |
                                 Qt::AlignJustify | Qt::TextExpandTabs | Qt::TextForceRightToLeft |
                                 Qt::TextDontPrint | Qt::TextLongestVariant;
    const QFont& font = a_painter->font();
    // A painter not bound to a widget takes the direction from the text, left to right for plain text.
    const Qt::LayoutDirection direction = a_painter->layoutDirection();
    if ((a_flags & OtherLayouts) || direction == Qt::RightToLeft ||
        a_painter->transform().type() > QTransform::TxTranslate || font.underline() || font.strikeOut() ||
        font.overline() || !isPlainLine(a_text, a_flags))
        return false;
    if (a_painter->pen().style() == Qt::NoPen)
        return true;

    const int dpi = a_painter->device() ? a_painter->device()->logicalDpiY() : 0;
    const QSharedPointer<QTextLayout> layout = keptLine(a_text, font, dpi, direction);
    const QTextLine line = layout->lineAt(0);
    const QRectF area(a_rect);
    const qreal height = line.ascent() + line.descent();
    const qreal width = line.naturalTextWidth();
    const qreal advance = line.horizontalAdvance();
    qreal top = 0;
    if (a_flags & Qt::AlignBottom)
        top = area.height() - height;
    else if (a_flags & Qt::AlignVCenter)
        top = (area.height() - height) / 2;
    qreal boundsLeft = 0;
    qreal left = 0;
    if (a_flags & Qt::AlignRight) {
        boundsLeft = area.width() - width;
        left = area.width() - advance;
    } else if (a_flags & Qt::AlignHCenter) {
        boundsLeft = (area.width() - width) / 2;
        left = (area.width() - advance) / 2;
    }
    // Text that does not fit is cut at the rectangle, unless told not to be.
    const bool clip = !(a_flags & Qt::TextDontClip) &&
                      !area.contains(QRectF(area.x() + boundsLeft, area.y() + top, width, height));
    if (clip) {
        a_painter->save();
        a_painter->setClipRect(area, Qt::IntersectClip);
    }
    line.draw(a_painter, QPointF(area.x() + left, area.y() + top));
    if (clip)
        a_painter->restore();
    return true;
}

void KeptDrawingStyle::drawControl(ControlElement a_element, const QStyleOption* a_option,
                                   QPainter* a_painter, const QWidget* a_widget) const
{
    if (a_element == CE_ItemViewItem && drawKeptItem(a_option, a_painter, a_widget))
        return;
    QProxyStyle::drawControl(a_element, a_option, a_painter, a_widget);
}

bool KeptDrawingStyle::drawKeptItem(const QStyleOption* a_option, QPainter* a_painter,
                                    const QWidget* a_widget) const
{
    const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(a_option);
    // A selected cell marked over its text alone is marked where the text is.
    if (!isTextCell(item) || !keeps(a_painter) || (item->state & (State_Editing | State_HasFocus)) ||
        ((item->state & State_Selected) && !item->showDecorationSelected) ||
        item->direction != Qt::LeftToRight || item->font.underline() || item->font.strikeOut() ||
        item->font.overline() || !isPlainLine(item->text, 0))
        return false;
    const Qt::Alignment alignment = visualAlignment(item->direction, item->displayAlignment);
    // Left as the style turns it for the direction, which it marks absolute.
    if ((alignment & (Qt::AlignHorizontal_Mask & ~Qt::AlignAbsolute)) != Qt::AlignLeft ||
        (alignment & Qt::AlignVertical_Mask) != Qt::AlignVCenter)
        return false;

    const int margin = proxy()->pixelMetric(PM_FocusFrameHMargin, nullptr, a_widget) + 1;
    const QRect area = keptItemMeasure(true, item, a_widget).adjusted(margin, 0, -margin, 0);
    const int dpi = a_painter->device() ? a_painter->device()->logicalDpiY() : 0;
    const QSharedPointer<QTextLayout> layout = keptLine(item->text, item->font, dpi, item->direction);
    const QTextLine line = layout->lineAt(0);
    // Text that does not fit is shortened by the style, with an ellipsis.
    if (line.naturalTextWidth() > area.width())
        return false;

    // The cell without its text: its background, and whatever else the style puts there.
    QStyleOptionViewItem bare(*item);
    bare.text.clear();
    QProxyStyle::drawControl(CE_ItemViewItem, &bare, a_painter, a_widget);
    QPalette::ColorGroup group = (item->state & State_Enabled) ? QPalette::Normal : QPalette::Disabled;
    if (group == QPalette::Normal && !(item->state & State_Active))
        group = QPalette::Inactive;
    a_painter->save();
    a_painter->setClipRect(item->rect);
    a_painter->setPen(item->palette.color(group, (item->state & State_Selected) ? QPalette::HighlightedText
                                                                                : QPalette::Text));
    // Centred as the style centres the line's whole height, by half pixels where they fall.
    line.draw(a_painter, QPointF(area.x(), area.y() + (area.height() - line.height()) / 2));
    a_painter->restore();
    return true;
}

QSize KeptDrawingStyle::sizeFromContents(ContentsType a_type, const QStyleOption* a_option,
                                         const QSize& a_size, const QWidget* a_widget) const
{
    const auto* item = qstyleoption_cast<const QStyleOptionViewItem*>(a_option);
    if (a_type != CT_ItemViewItem || !isTextCell(item) || !drawsByOptions())
        return QProxyStyle::sizeFromContents(a_type, a_option, a_size, a_widget);
    return keptItemMeasure(false, item, a_widget, a_size).size();
}

QRect KeptDrawingStyle::keptItemMeasure(bool a_textRect, const QStyleOptionViewItem* a_item,
                                        const QWidget* a_widget, const QSize& a_size) const
{
    // By the cell's text, font, and the few fields the style reads; each measure shapes the text. The text's
    // rectangle is kept from the cell's corner, and measured in a cell of the same size.
    const int dpi = a_item->fontMetrics.fontDpi() > 0 ? qRound(a_item->fontMetrics.fontDpi()) : 0;
    const QSize given = a_textRect ? a_item->rect.size() : a_size;
    const auto same = [&](const KeptItemMeasure& a_kept) {
        return a_kept.textRect == a_textRect && a_kept.dpi == dpi &&
               a_kept.features == int(a_item->features) &&
               a_kept.alignment == int(a_item->displayAlignment) &&
               a_kept.decorationPosition == int(a_item->decorationPosition) &&
               a_kept.direction == a_item->direction && a_kept.given == given && a_kept.font == a_item->font;
    };
    const QVector<KeptItemMeasure>& kept = m_itemMeasures[a_item->text];
    const auto found = std::find_if(kept.cbegin(), kept.cend(), same);
    if (found != kept.cend())
        return found->result.translated(a_item->rect.topLeft());
    const QRect result =
        a_textRect
            ? QProxyStyle::subElementRect(SE_ItemViewItemText, a_item, a_widget)
            : QRect(QPoint(), QProxyStyle::sizeFromContents(CT_ItemViewItem, a_item, a_size, a_widget));
    if (++m_keptItemMeasures > KeptTexts) {
        m_itemMeasures.clear();
        m_keptItemMeasures = 1;
    }
    const QPoint corner = a_textRect ? a_item->rect.topLeft() : QPoint();
    m_itemMeasures[a_item->text].append({a_item->font, dpi, a_textRect, int(a_item->features),
                                         int(a_item->displayAlignment), int(a_item->decorationPosition),
                                         a_item->direction, given, result.translated(-corner)});
    return result;
}

QSharedPointer<QTextLayout> KeptDrawingStyle::keptLine(const QString& a_text, const QFont& a_font, int a_dpi,
                                                       Qt::LayoutDirection a_direction) const
{
    QVector<KeptText>& kept = m_texts[a_text];
    auto found = std::find_if(kept.begin(), kept.end(), [&](const KeptText& a_kept) {
        return a_kept.dpi == a_dpi && a_kept.direction == a_direction && a_kept.font == a_font;
    });
    if (found != kept.end())
        return found->layout;
    // Laid out as the painter lays out one line: from the left, without wrapping, at the top.
    auto layout = QSharedPointer<QTextLayout>::create(a_text, a_font);
    QTextOption option;
    option.setTextDirection(a_direction);
    option.setAlignment(Qt::AlignLeft);
    layout->setTextOption(option);
    layout->setCacheEnabled(true);
    layout->beginLayout();
    QTextLine line = layout->createLine();
    line.setLineWidth(0x01000000);
    line.setPosition(QPointF(0, 0));
    layout->endLayout();
    if (++m_keptTexts > KeptTexts) {
        m_texts.clear();
        m_keptTexts = 1;
    }
    m_texts[a_text].append({a_font, a_dpi, a_direction, layout});
    return layout;
}

} // namespace Orvex
