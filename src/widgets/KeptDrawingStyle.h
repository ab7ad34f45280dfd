#pragma once

#include <QByteArray>
#include <QFont>
#include <QHash>
#include <QPixmap>
#include <QProxyStyle>
#include <QSharedPointer>
#include <QVector>

#include <functional>
#include <initializer_list>

class QTextLayout;
class QStyleOptionViewItem;

namespace Orvex {

// A proxy of the application's style that draws what every page repeats from what it keeps: pictures of
// the boxes of check boxes, the panels of line edits and whole scroll bars, and the shaped text of labels.
// The Fusion style draws each box, panel and bar anew, antialiased and with gradients, and shapes every
// label's text again at each paint: a fifth of showing a page. Each picture is drawn by the style itself,
// so what appears is what it would draw; a label is drawn from its kept shaping exactly as the painter
// would place it, straight onto the widget. Item view cells that show text alone keep their measures and
// their text's shaping the same way, which the style would otherwise redo five times per cell at each
// paint. Other styles, whose drawing may depend on more than the options they are given, draw as they
// always do.
class KeptDrawingStyle : public QProxyStyle
{
    Q_OBJECT

public:
    // Takes a_base; without one, the proxy makes the desktop's default style.
    explicit KeptDrawingStyle(QStyle* a_base = nullptr);

    // Puts a proxy of the style the application has chosen (by its settings, the desktop's or -style) in
    // its place, for every widget without a style of its own.
    static void install();

    void drawPrimitive(PrimitiveElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                       const QWidget* a_widget = nullptr) const override;
    void drawComplexControl(ComplexControl a_control, const QStyleOptionComplex* a_option,
                            QPainter* a_painter, const QWidget* a_widget = nullptr) const override;
    void drawControl(ControlElement a_element, const QStyleOption* a_option, QPainter* a_painter,
                     const QWidget* a_widget = nullptr) const override;
    QSize sizeFromContents(ContentsType a_type, const QStyleOption* a_option, const QSize& a_size,
                           const QWidget* a_widget = nullptr) const override;
    void drawItemText(QPainter* a_painter, const QRect& a_rect, int a_flags, const QPalette& a_palette,
                      bool a_enabled, const QString& a_text,
                      QPalette::ColorRole a_role = QPalette::NoRole) const override;

    // Draws a_text as QPainter::drawText(a_rect, a_flags, a_text) would, from its shaping kept by the
    // text and font; returns false, drawing nothing, for text the painter lays out otherwise than on one
    // plain line (several lines, tabs, shortcuts, justification, right to left, decorated fonts).
    bool drawKeptText(QPainter* a_painter, const QRect& a_rect, int a_flags, const QString& a_text) const;

    // Draws a cell of an item view that shows text alone as the style draws it, its text from the kept
    // shaping; returns false, drawing nothing, for any other cell (a box or an icon, several lines, text
    // the style would shorten, aligned otherwise than left and centred, right to left, being edited).
    bool drawKeptItem(const QStyleOption* a_option, QPainter* a_painter, const QWidget* a_widget) const;

protected:
    // Whether a picture drawn at the painter's scale and blended as it blends looks as drawing there
    // would.
    bool keeps(const QPainter* a_painter) const;

    // The key of a picture: a_own, what the part's drawing depends on beyond what every option holds (its
    // size, state, direction and colours of every group), and the painter's pixel ratio.
    static QByteArray keyOf(const QStyleOption& a_option, const QPainter* a_painter,
                            std::initializer_list<quint32> a_own);

    // Draws a_draw onto a_painter through the picture of a_reach (where a_draw may touch) kept under
    // a_key, drawing it first when there is none.
    void drawKept(QPainter* a_painter, const QRect& a_reach, const QByteArray& a_key,
                  const std::function<void(QPainter*)>& a_draw) const;

private:
    // Whether the base style draws and measures by the options alone, as the Fusion style does.
    bool drawsByOptions() const;
    // The size of a cell that shows text alone, or with a_textRect its text's rectangle in the cell, as
    // the base style measures it, from what is kept.
    QRect keptItemMeasure(bool a_textRect, const QStyleOptionViewItem* a_item, const QWidget* a_widget,
                          const QSize& a_size = QSize()) const;
    // The shaping of a_text on one line from the left, kept by text, font, resolution and direction.
    QSharedPointer<QTextLayout> keptLine(const QString& a_text, const QFont& a_font, int a_dpi,
                                         Qt::LayoutDirection a_direction) const;

    // Enough for the parts of several pages in each of their states; cleared, not aged, when full.
    static constexpr int KeptPictures = 256;
    static constexpr qint64 KeptBytes = 16 * 1024 * 1024;
    mutable QHash<QByteArray, QPixmap> m_pictures;
    mutable qint64 m_keptBytes = 0;
    // Shaped texts, by text, then font, resolution and direction; cleared when full.
    struct KeptText
    {
        QFont font;
        int dpi = 0;
        Qt::LayoutDirection direction = Qt::LeftToRight;
        QSharedPointer<QTextLayout> layout;
    };
    static constexpr int KeptTexts = 4096;
    mutable QHash<QString, QVector<KeptText>> m_texts;
    mutable int m_keptTexts = 0;
    // Measures of cells that show text alone (their size, their text's rectangle), by text, then all
    // else the style measures them by.
    struct KeptItemMeasure
    {
        QFont font;
        int dpi = 0;
        bool textRect = false;
        int features = 0;
        int alignment = 0;
        int decorationPosition = 0;
        Qt::LayoutDirection direction = Qt::LeftToRight;
        QSize given;
        QRect result;
    };
    mutable QHash<QString, QVector<KeptItemMeasure>> m_itemMeasures;
    mutable int m_keptItemMeasures = 0;
};

} // namespace Orvex
