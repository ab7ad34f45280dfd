#include "widgets/CheckedSpinBox.h"
#include "widgets/KeptDrawingStyle.h"
#include "widgets/KeptSizeCheckBox.h"
#include "widgets/KeptSizeHeaderView.h"
#include "widgets/KeptSizeLabel.h"

#include <QCheckBox>
#include <QDoubleSpinBox>
#include <QImage>
#include <QLabel>
#include <QLineEdit>
#include <QPainter>
#include <QScrollBar>
#include <QStandardItemModel>
#include <QStyleFactory>
#include <QStyleOptionViewItem>
#include <QTabBar>
#include <QTest>

#include <functional>
#include <memory>
#include <vector>

using namespace Orvex;

namespace {

// The first pixel where two pictures differ by more than a_tolerance in a channel, or an empty text.
QString firstDifference(const QImage& a_one, const QImage& a_other, int a_tolerance)
{
    if (a_one.size() != a_other.size())
        return QStringLiteral("sizes differ");
    const QImage one = a_one.convertToFormat(QImage::Format_ARGB32);
    const QImage other = a_other.convertToFormat(QImage::Format_ARGB32);
    for (int y = 0; y < one.height(); ++y) {
        for (int x = 0; x < one.width(); ++x) {
            const QRgb a = one.pixel(x, y);
            const QRgb b = other.pixel(x, y);
            if (qAbs(qRed(a) - qRed(b)) > a_tolerance || qAbs(qGreen(a) - qGreen(b)) > a_tolerance ||
                qAbs(qBlue(a) - qBlue(b)) > a_tolerance || qAbs(qAlpha(a) - qAlpha(b)) > a_tolerance)
                return QStringLiteral("pixel %1,%2 differs").arg(x).arg(y);
        }
    }
    return QString();
}

enum class Field
{
    Check,
    Partial,
    Line,
    ReadOnlyLine,
    FramelessLine,
    Bar,
    Label,
    Tabs
};

QWidget* makeField(Field a_kind, bool a_enabled, int a_value)
{
    QWidget* field = nullptr;
    switch (a_kind) {
    case Field::Check:
    case Field::Partial: {
        auto* box = new QCheckBox(QStringLiteral("Reverse X"));
        box->setTristate(a_kind == Field::Partial);
        box->setCheckState(Qt::CheckState(a_value));
        field = box;
        break;
    }
    case Field::Line:
    case Field::ReadOnlyLine:
    case Field::FramelessLine: {
        auto* line = new QLineEdit(QStringLiteral("2048 px"));
        line->setReadOnly(a_kind == Field::ReadOnlyLine);
        line->setFrame(a_kind != Field::FramelessLine);
        line->setPlaceholderText(QStringLiteral("Filter features by name"));
        if (a_value == 0)
            line->clear();
        field = line;
        break;
    }
    case Field::Bar: {
        auto* bar = new QScrollBar(a_value < 0 ? Qt::Horizontal : Qt::Vertical);
        bar->setRange(0, 400);
        bar->setPageStep(120);
        bar->setValue(qAbs(a_value));
        field = bar;
        break;
    }
    case Field::Label:
        field = new QLabel(a_value ? QStringLiteral("PixelFormat") : QStringLiteral("Line one\nline two"));
        break;
    case Field::Tabs: {
        // More tabs than the bar has room for: the ones at its ends are cut and marked.
        auto* tabs = new QTabBar;
        tabs->setUsesScrollButtons(true);
        for (const char* name : {"Link", "Sensor", "Timing", "Trigger", "CXP registers before"})
            tabs->addTab(QString::fromLatin1(name));
        tabs->setCurrentIndex(a_value);
        field = tabs;
        break;
    }
    }
    field->setEnabled(a_enabled);
    return field;
}

// Not a feature of a cell: marks a test's cell as selected over its text alone.
constexpr int TextSelectedAlone = 0x10000;

// A cell of text alone, as a view asks the style to draw and measure it.
QStyleOptionViewItem cellOption(const QString& a_text, int a_alignment, int a_state, int a_features,
                                const QRect& a_rect, const QFont& a_font)
{
    QStyleOptionViewItem cell;
    cell.rect = a_rect;
    cell.text = a_text;
    cell.displayAlignment = Qt::Alignment(a_alignment);
    cell.state = QStyle::State(a_state);
    cell.features = QStyleOptionViewItem::ViewItemFeatures(a_features & ~TextSelectedAlone);
    cell.showDecorationSelected = !(a_features & TextSelectedAlone);
    cell.font = a_font;
    cell.fontMetrics = QFontMetrics(a_font);
    cell.textElideMode = Qt::ElideRight;
    cell.palette.setColor(QPalette::Text, QColor(20, 40, 160));
    cell.palette.setColor(QPalette::Inactive, QPalette::Text, QColor(90, 20, 20));
    cell.palette.setColor(QPalette::Disabled, QPalette::Text, QColor(150, 150, 150));
    return cell;
}

} // namespace

class TestKeptDrawing : public QObject
{
    Q_OBJECT

private slots:
    // Text drawn from its kept shaping lands on the same pixels as the painter's own, wherever the
    // rectangle puts it; text the painter lays out otherwise is left to the painter.
    void textAsPainter_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("flags");
        QTest::addColumn<QRect>("rect");
        QTest::addColumn<int>("pixelSize");
        QTest::addColumn<bool>("bold");
        QTest::addColumn<bool>("kept");
        const int left = Qt::AlignLeft | Qt::AlignVCenter;
        QTest::newRow("label") << "Width" << left << QRect(9, 9, 274, 30) << 0 << false << true;
        QTest::newRow("centred tab") << "CXP registers before" << int(Qt::AlignCenter | Qt::TextShowMnemonic)
                                     << QRect(3, 2, 131, 27) << 0 << false << true;
        QTest::newRow("odd centre") << "Sensor" << int(Qt::AlignCenter) << QRect(0, 0, 61, 23) << 13 << false
                                    << true;
        QTest::newRow("right bottom")
            << "Mono8 -- Monochrome, 8 bits per pixel." << int(Qt::AlignRight | Qt::AlignBottom)
            << QRect(20, 4, 400, 40) << 0 << true << true;
        QTest::newRow("top") << "Binning" << int(Qt::AlignHCenter | Qt::AlignTop) << QRect(1, 1, 90, 50) << 17
                             << false << true;
        QTest::newRow("cut at the rectangle")
            << "A label much longer than its room" << left << QRect(5, 5, 60, 12) << 0 << false << true;
        QTest::newRow("not cut") << "A label much longer than its room"
                                 << int(Qt::AlignCenter | Qt::TextDontClip) << QRect(40, 5, 60, 12) << 0
                                 << false << true;
        QTest::newRow("accents") << QStringLiteral("Überschrift für Zeilen") << left << QRect(0, 0, 300, 30)
                                 << 0 << false << true;
        QTest::newRow("ampersand drawn")
            << "Tap & geometry" << left << QRect(0, 0, 200, 30) << 0 << false << true;
        QTest::newRow("shortcut") << "&Open" << int(left | Qt::TextShowMnemonic) << QRect(0, 0, 200, 30) << 0
                                  << false << false;
        QTest::newRow("two lines") << "one\ntwo" << left << QRect(0, 0, 200, 60) << 0 << false << false;
        QTest::newRow("tab") << "a\tb" << left << QRect(0, 0, 200, 30) << 0 << false << false;
        QTest::newRow("trailing space")
            << "Gain " << int(Qt::AlignRight) << QRect(0, 0, 200, 30) << 0 << false << false;
        QTest::newRow("wrapped") << "Width of the image" << int(left | Qt::TextWordWrap)
                                 << QRect(0, 0, 40, 90) << 0 << false << false;
        QTest::newRow("right to left") << QStringLiteral("\u05e9\u05dc\u05d5\u05dd") << left
                                       << QRect(0, 0, 200, 30) << 0 << false << false;
    }

    void textAsPainter()
    {
        QFETCH(QString, text);
        QFETCH(int, flags);
        QFETCH(QRect, rect);
        QFETCH(int, pixelSize);
        QFETCH(bool, bold);
        QFETCH(bool, kept);
        KeptDrawingStyle style(QStyleFactory::create(QStringLiteral("Fusion")));
        QFont font;
        if (pixelSize > 0)
            font.setPixelSize(pixelSize);
        font.setBold(bold);
        // Again from the shaping kept the first time, then in another size, which is not the same text.
        for (int round = 0; round < 3; ++round) {
            if (round == 2)
                font.setPixelSize(font.pixelSize() > 0 ? font.pixelSize() + 5 : 21);
            QImage own(320, 80, QImage::Format_ARGB32_Premultiplied);
            own.fill(Qt::white);
            QImage drawn = own;
            QPainter painter(&own);
            painter.setFont(font);
            painter.translate(round * 3, round);
            painter.drawText(rect, flags, text);
            painter.end();
            QPainter keeping(&drawn);
            keeping.setFont(font);
            keeping.translate(round * 3, round);
            QCOMPARE(style.drawKeptText(&keeping, rect, flags, text), kept);
            if (!kept)
                keeping.drawText(rect, flags, text);
            keeping.end();
            QCOMPARE(firstDifference(drawn, own, 0), QString());
        }
    }

    // The boxes, panels and bars drawn from kept pictures look as the style draws them, in every state
    // and again after the field changes; edges drawn into a picture and then onto the widget may round
    // once more.
    void fieldsAsDrawn_data()
    {
        QTest::addColumn<int>("kind");
        QTest::addColumn<bool>("enabled");
        QTest::addColumn<int>("value");
        QTest::newRow("box off") << int(Field::Check) << true << int(Qt::Unchecked);
        QTest::newRow("box on") << int(Field::Check) << true << int(Qt::Checked);
        QTest::newRow("box partly") << int(Field::Partial) << true << int(Qt::PartiallyChecked);
        QTest::newRow("box disabled") << int(Field::Check) << false << int(Qt::Checked);
        QTest::newRow("line") << int(Field::Line) << true << 1;
        QTest::newRow("line empty") << int(Field::Line) << true << 0;
        QTest::newRow("line disabled") << int(Field::Line) << false << 1;
        QTest::newRow("line read only") << int(Field::ReadOnlyLine) << true << 1;
        QTest::newRow("line frameless") << int(Field::FramelessLine) << true << 1;
        QTest::newRow("bar top") << int(Field::Bar) << true << 0;
        QTest::newRow("bar middle") << int(Field::Bar) << true << 200;
        QTest::newRow("bar across") << int(Field::Bar) << true << -400;
        QTest::newRow("bar disabled") << int(Field::Bar) << false << 100;
        QTest::newRow("label") << int(Field::Label) << true << 1;
        QTest::newRow("label of two lines") << int(Field::Label) << false << 0;
        QTest::newRow("tabs") << int(Field::Tabs) << true << 0;
        QTest::newRow("tabs from the end") << int(Field::Tabs) << true << 4;
    }

    void fieldsAsDrawn()
    {
        QFETCH(int, kind);
        QFETCH(bool, enabled);
        QFETCH(int, value);
        std::unique_ptr<QStyle> plain(QStyleFactory::create(QStringLiteral("Fusion")));
        KeptDrawingStyle kept(QStyleFactory::create(QStringLiteral("Fusion")));
        std::unique_ptr<QWidget> drawn(makeField(Field(kind), enabled, value));
        std::unique_ptr<QWidget> keeping(makeField(Field(kind), enabled, value));
        drawn->setStyle(plain.get());
        keeping->setStyle(&kept);
        for (QWidget* field : {drawn.get(), keeping.get()})
            field->resize(qobject_cast<QScrollBar*>(field) ? QSize(160, 160) : QSize(240, 30));
        const auto compare = [&] {
            return firstDifference(keeping->grab().toImage(), drawn->grab().toImage(), 2);
        };
        QCOMPARE(compare(), QString());
        // Drawn again after a change the picture kept before must not stand for.
        for (QWidget* field : {drawn.get(), keeping.get()}) {
            if (auto* box = qobject_cast<QCheckBox*>(field))
                box->setCheckState(box->checkState() == Qt::Checked ? Qt::Unchecked : Qt::Checked);
            else if (auto* bar = qobject_cast<QScrollBar*>(field))
                bar->setValue(bar->value() + bar->pageStep());
            else if (auto* tabs = qobject_cast<QTabBar*>(field))
                tabs->setCurrentIndex((tabs->currentIndex() + 2) % tabs->count());
            else
                field->setEnabled(!field->isEnabled());
        }
        QCOMPARE(compare(), QString());
        // And once more, from what is kept of both.
        for (QWidget* field : {drawn.get(), keeping.get()})
            field->setEnabled(!field->isEnabled());
        QCOMPARE(compare(), QString());
    }

    // A cell of text alone is drawn as the style draws it, its text from the kept shaping, in every
    // state, size and font; every other cell is left to the style.
    void itemsAsDrawn_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<int>("alignment");
        QTest::addColumn<int>("state");
        QTest::addColumn<int>("features");
        QTest::addColumn<QRect>("rect");
        QTest::addColumn<bool>("kept");
        const int left = Qt::AlignLeft | Qt::AlignVCenter;
        const int shown = QStyle::State_Enabled | QStyle::State_Active;
        const int text = QStyleOptionViewItem::HasDisplay;
        const QRect cell(4, 3, 120, 24);
        QTest::newRow("value") << "2048" << left << shown << text << cell << true;
        // A selected row is marked across the whole cell; a cell marking its text alone is the style's.
        QTest::newRow("selected") << "Mono8" << left << int(shown | QStyle::State_Selected) << text << cell
                                  << true;
        QTest::newRow("selected text") << "Mono8" << left << int(shown | QStyle::State_Selected)
                                       << int(text | TextSelectedAlone) << cell << false;
        QTest::newRow("inactive") << "Mono8" << left << int(QStyle::State_Enabled) << text << cell << true;
        QTest::newRow("disabled") << "0" << left << 0 << text << cell << true;
        QTest::newRow("alternate row")
            << "1024" << left << shown << int(text | QStyleOptionViewItem::Alternate) << cell << true;
        QTest::newRow("odd height") << "Default_1" << left << shown << text << QRect(0, 1, 90, 25) << true;
        QTest::newRow("leading") << "Camera" << int(Qt::AlignLeading | Qt::AlignVCenter) << shown << text
                                 << cell << true;
        QTest::newRow("too narrow") << "ROI width" << left << shown << text << QRect(0, 0, 30, 20) << false;
        QTest::newRow("shortened") << "Mono8 -- Monochrome, 8 bits per pixel." << left << shown << text
                                   << cell << false;
        QTest::newRow("centred") << "3" << int(Qt::AlignCenter) << shown << text << cell << false;
        QTest::newRow("top") << "3" << int(Qt::AlignLeft | Qt::AlignTop) << shown << text << cell << false;
        QTest::newRow("box") << "On" << left << shown << int(text | QStyleOptionViewItem::HasCheckIndicator)
                             << cell << false;
        QTest::newRow("two lines") << "one\ntwo" << left << shown << text << QRect(0, 0, 120, 40) << false;
        QTest::newRow("focus") << "7" << left << int(shown | QStyle::State_HasFocus) << text << cell << false;
        QTest::newRow("editing") << "7" << left << int(shown | QStyle::State_Editing) << text << cell
                                 << false;
    }

    void itemsAsDrawn()
    {
        QFETCH(QString, text);
        QFETCH(int, alignment);
        QFETCH(int, state);
        QFETCH(int, features);
        QFETCH(QRect, rect);
        QFETCH(bool, kept);
        std::unique_ptr<QStyle> plain(QStyleFactory::create(QStringLiteral("Fusion")));
        KeptDrawingStyle keeping(QStyleFactory::create(QStringLiteral("Fusion")));
        QFont font;
        // Again from the shaping kept the first time, then in a font of another size and weight.
        for (int round = 0; round < 3; ++round) {
            if (round == 2) {
                font.setPixelSize(17);
                font.setBold(true);
            }
            const QStyleOptionViewItem cell = cellOption(text, alignment, state, features, rect, font);
            QImage own(140, 50, QImage::Format_ARGB32_Premultiplied);
            own.fill(Qt::white);
            QImage drawn = own;
            QImage fromStyle = own;
            QPainter painter(&own);
            plain->drawControl(QStyle::CE_ItemViewItem, &cell, &painter);
            painter.end();
            QPainter keptPainter(&drawn);
            const bool drewKept = keeping.drawKeptItem(&cell, &keptPainter, nullptr);
            keptPainter.end();
            // The larger font may not fit where the first did; then the style shortens it itself.
            if (round < 2)
                QCOMPARE(drewKept, kept);
            if (drewKept)
                QCOMPARE(firstDifference(drawn, own, 0), QString());
            QPainter stylePainter(&fromStyle);
            keeping.drawControl(QStyle::CE_ItemViewItem, &cell, &stylePainter);
            stylePainter.end();
            QCOMPARE(firstDifference(fromStyle, own, 0), QString());
        }
    }

    // A cell's kept measure is the style's own, for its text and font, and again after either changes.
    void itemSizesAsMeasured()
    {
        std::unique_ptr<QStyle> plain(QStyleFactory::create(QStringLiteral("Fusion")));
        KeptDrawingStyle keeping(QStyleFactory::create(QStringLiteral("Fusion")));
        QFont bold;
        bold.setBold(true);
        bold.setPixelSize(19);
        const int text = QStyleOptionViewItem::HasDisplay;
        for (const QFont& font : {QFont(), bold, QFont()}) {
            for (const QString& value : {QStringLiteral("2048"), QStringLiteral("Default_12"),
                                         QStringLiteral("two\nlines"), QStringLiteral("2048")}) {
                for (const int features : {text, int(text | QStyleOptionViewItem::HasCheckIndicator), text}) {
                    const QStyleOptionViewItem cell =
                        cellOption(value, Qt::AlignLeft | Qt::AlignVCenter, QStyle::State_Enabled, features,
                                   QRect(), font);
                    QCOMPARE(keeping.sizeFromContents(QStyle::CT_ItemViewItem, &cell, QSize()),
                             plain->sizeFromContents(QStyle::CT_ItemViewItem, &cell, QSize()));
                }
            }
        }
    }

    // A header measuring each title once measures as Qt's own, after a title, the font or the sort
    // indicator changes too.
    void headerSizesAsMeasured()
    {
        QStandardItemModel model(3, 4);
        model.setHorizontalHeaderLabels({QStringLiteral("X"), QStringLiteral("Offset X"),
                                         QStringLiteral("Width of the region"), QStringLiteral("Y")});
        QHeaderView plain(Qt::Horizontal);
        KeptSizeHeaderView kept(Qt::Horizontal);
        const auto same = [&] {
            for (int section = 0; section < model.columnCount(); ++section) {
                if (kept.sectionSizeHint(section) != plain.sectionSizeHint(section))
                    return false;
            }
            return kept.sizeHint() == plain.sizeHint();
        };
        for (QHeaderView* header : {&plain, static_cast<QHeaderView*>(&kept)})
            header->setModel(&model);
        QVERIFY(same());
        model.setHeaderData(0, Qt::Horizontal, QStringLiteral("A much longer title"));
        QVERIFY(same());
        QFont font;
        font.setPixelSize(21);
        for (QHeaderView* header : {&plain, static_cast<QHeaderView*>(&kept)})
            header->setFont(font);
        QVERIFY(same());
        for (QHeaderView* header : {&plain, static_cast<QHeaderView*>(&kept)})
            header->setSortIndicatorShown(true);
        QVERIFY(same());
        model.setHeaderData(3, Qt::Horizontal, QSize(300, 40), Qt::SizeHintRole);
        QVERIFY(same());
    }

    // Labels and check boxes sharing their measures measure as their own kind does, for their text and
    // font, and again after either changes.
    void sizesAsMeasured_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("changed");
        QTest::addColumn<int>("pixelSize");
        QTest::newRow("name") << "PixelFormat"
                              << "Width" << 0;
        QTest::newRow("long") << "CoolingSetpointTemperatureOfTheSensor"
                              << "X" << 19;
        QTest::newRow("empty") << QString() << "Gain" << 0;
        QTest::newRow("rich") << "<b>Bold</b>"
                              << "plain" << 0;
        QTest::newRow("two lines") << "one\ntwo"
                                   << "one" << 15;
    }

    void sizesAsMeasured()
    {
        QFETCH(QString, text);
        QFETCH(QString, changed);
        QFETCH(int, pixelSize);
        QLabel label(text);
        KeptSizeLabel kept(text);
        KeptSizeLabel another(text);
        QCheckBox box(text);
        KeptSizeCheckBox keptBox(text);
        const auto same = [&] {
            return kept.sizeHint() == label.sizeHint() && another.sizeHint() == label.sizeHint() &&
                   kept.minimumSizeHint() == label.minimumSizeHint() &&
                   keptBox.sizeHint() == box.sizeHint() && keptBox.minimumSizeHint() == box.minimumSizeHint();
        };
        QVERIFY(same());
        for (QLabel* shown : std::initializer_list<QLabel*>{&label, &kept, &another})
            shown->setText(changed);
        box.setText(changed);
        keptBox.setText(changed);
        QVERIFY(same());
        QFont font;
        font.setBold(true);
        if (pixelSize > 0)
            font.setPixelSize(pixelSize);
        for (QWidget* widget : std::initializer_list<QWidget*>{&label, &kept, &another, &box, &keptBox})
            widget->setFont(font);
        QVERIFY(same());
    }

    // Number boxes sharing their measures measure as a plain box does, and again after their range,
    // affixes, buttons, frame or font change.
    void boxSizesAsMeasured()
    {
        QDoubleSpinBox plain;
        CheckedSpinBox kept;
        CheckedSpinBox another;
        const QList<QDoubleSpinBox*> boxes{&plain, &kept, &another};
        const auto same = [&] {
            return kept.sizeHint() == plain.sizeHint() && another.sizeHint() == plain.sizeHint() &&
                   kept.minimumSizeHint() == plain.minimumSizeHint();
        };
        QVERIFY(same());
        const std::vector<std::function<void(QDoubleSpinBox*)>> changes{
            [](QDoubleSpinBox* a_box) { a_box->setRange(-5, 100000000); },
            [](QDoubleSpinBox* a_box) { a_box->setDecimals(4); },
            [](QDoubleSpinBox* a_box) { a_box->setMaximum(99999999999.0); },
            [](QDoubleSpinBox* a_box) { a_box->setSuffix(QStringLiteral(" \u00b5s")); },
            [](QDoubleSpinBox* a_box) { a_box->setPrefix(QStringLiteral("x ")); },
            [](QDoubleSpinBox* a_box) { a_box->setSpecialValueText(QStringLiteral("Automatic exposure")); },
            [](QDoubleSpinBox* a_box) { a_box->setButtonSymbols(QAbstractSpinBox::NoButtons); },
            [](QDoubleSpinBox* a_box) { a_box->setFrame(false); },
            [](QDoubleSpinBox* a_box) {
                QFont font;
                font.setPixelSize(23);
                a_box->setFont(font);
            },
            [](QDoubleSpinBox* a_box) { a_box->setRange(0, 7); },
        };
        for (const auto& change : changes) {
            for (QDoubleSpinBox* box : boxes)
                change(box);
            QVERIFY(same());
        }
    }

    // A proxy of the application's style takes its place, once, whatever style was chosen.
    void install()
    {
        const QString chosen = QApplication::style()->objectName();
        KeptDrawingStyle::install();
        auto* installed = qobject_cast<KeptDrawingStyle*>(QApplication::style());
        QVERIFY(installed);
        QCOMPARE(installed->baseStyle()->objectName(), chosen);
        KeptDrawingStyle::install();
        QCOMPARE(QApplication::style(), installed);
    }
};

QTEST_MAIN(TestKeptDrawing)
#include "tst_keptdrawing.moc"
