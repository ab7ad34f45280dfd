#include "BoardFixtures.h"
#include "ElementFixtures.h"
#include "WindowFixtures.h"
#include "app/CameraTreeModel.h"
#include "app/FeatureNavigator.h"
#include "app/LumexExtraDataDialog.h"
#include "app/Window.h"
#include "elements/CameraElement.h"
#include "elements/CategoryElementBase.h"
#include "elements/ElementBaseDelayQueue.h"
#include "elements/ModeElement.h"
#include "elements/WindowElement.h"
#include "widgets/QuietTabWidget.h"

#include <QAbstractButton>
#include <QAction>
#include <QDir>
#include <QDockWidget>
#include <QFile>
#include <QFormLayout>
#include <QHash>
#include <QLabel>
#include <QLineEdit>
#include <QProgressDialog>
#include <QPushButton>
#include <QRegularExpression>
#include <QResizeEvent>
#include <QScrollArea>
#include <QScrollBar>
#include <QSet>
#include <QTabBar>
#include <QTabWidget>
#include <QTemporaryDir>
#include <QTest>
#include <QTimer>
#include <QToolButton>
#include <QTreeView>
#include <QTreeWidget>

using namespace Orvex;
using namespace OrvexTest;

namespace {

class EventCounter : public QObject
{
public:
    EventCounter(QEvent::Type a_type, int* a_count) : m_type(a_type), m_count(a_count) {}

    bool eventFilter(QObject*, QEvent* a_event) override
    {
        *m_count += a_event->type() == m_type;
        return false;
    }

private:
    QEvent::Type m_type;
    int* m_count;
};

// The widths every page content (the widget a scroll area shows) was given, per content.
class ContentWidths : public QObject
{
public:
    bool eventFilter(QObject* a_object, QEvent* a_event) override
    {
        auto* widget = qobject_cast<QWidget*>(a_object);
        // A content's parent is the area's viewport.
        const QWidget* viewport = widget ? widget->parentWidget() : nullptr;
        const auto* area = viewport ? qobject_cast<QScrollArea*>(viewport->parentWidget()) : nullptr;
        if (a_event->type() == QEvent::Resize && area && area->widget() == widget)
            m_widths[a_object] << static_cast<QResizeEvent*>(a_event)->size().width();
        return false;
    }

    QHash<QObject*, QSet<int>> m_widths;
};

// How many times each widget was painted.
class PaintCounts : public QObject
{
public:
    bool eventFilter(QObject* a_object, QEvent* a_event) override
    {
        if (a_event->type() == QEvent::Paint)
            ++m_counts[a_object];
        return false;
    }

    QHash<QObject*, int> m_counts;
};

// Everything the window queued, the delayed element work included, handled.
void settle()
{
    for (int pass = 0; pass < 3; ++pass) {
        ElementBaseDelayQueue::instance()->flush();
        QCoreApplication::sendPostedEvents();
        QCoreApplication::processEvents();
    }
}

// A row of a page's form as the user sees it: its label, and its field when it has one with room.
struct FormRow
{
    QString name;
    QWidget* label = nullptr;
    QWidget* field = nullptr;
};

// The rows shown, from top to bottom.
QVector<FormRow> formRows(const QFormLayout* a_form)
{
    QVector<FormRow> rows;
    for (int row = 0; row < a_form->rowCount(); ++row) {
        QLayoutItem* label = a_form->itemAt(row, QFormLayout::LabelRole);
        if (!label)
            label = a_form->itemAt(row, QFormLayout::SpanningRole);
        if (!label || !label->widget() || !label->widget()->isVisible())
            continue;
        FormRow shown;
        shown.label = label->widget();
        const auto* text = qobject_cast<QLabel*>(shown.label);
        shown.name = text ? text->text() : qobject_cast<QAbstractButton*>(shown.label)->text();
        if (QLayoutItem* field = a_form->itemAt(row, QFormLayout::FieldRole);
            field && field->widget() && field->widget()->height() > 0)
            shown.field = field->widget();
        rows << shown;
    }
    std::sort(rows.begin(), rows.end(), [](const FormRow& a_one, const FormRow& a_other) {
        return a_one.label->y() < a_other.label->y();
    });
    return rows;
}

} // namespace

class TestWindow : public QObject
{
    Q_OBJECT

    std::unique_ptr<QTemporaryDir> m_dir;

private slots:
    void initTestCase() { isolateSettings(QStringLiteral("Orvex")); }

    void init() { QVERIFY((m_dir = startWindowTest())->isValid()); }

    void cancelDuringLoad()
    {
        auto window = makeWindow();
        QTimer::singleShot(0, window.get(), [&window] {
            auto* dialog = window->findChild<QProgressDialog*>();
            QVERIFY(dialog && dialog->isVisible());
            dialog->findChild<QPushButton*>()->click();
        });
        QVERIFY(!window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        QVERIFY(!window->hasDocument());
        QVERIFY(window->isDocumentsPageShown());
        QCOMPARE(messages(), QStringList());
    }

    // The dialog is filled when it is asked for, with the document open then: a file with comments, then
    // one without.
    void extraDataOfOpenDocument()
    {
        auto window = makeWindow();
        const QString commented = copyExample(m_dir->filePath("commented.lumex"));
        QFile file(commented);
        QVERIFY(file.open(QIODevice::ReadOnly));
        const QByteArray plain =
            QString::fromUtf8(file.readAll()).remove(QRegularExpression("(?s)<!--.*?-->")).toUtf8();
        const QString uncommented = m_dir->filePath("plain.lumex");
        QFile out(uncommented);
        QVERIFY(out.open(QIODevice::WriteOnly) && out.write(plain) == plain.size());
        out.close();
        QAction* action = nullptr;
        for (QAction* candidate : window->findChildren<QAction*>())
            action = candidate->text() == QLatin1String("&Extra Data...") ? candidate : action;
        QVERIFY(action);
        for (const QString& path : {commented, uncommented}) {
            QVERIFY(window->openFile(path));
            int comments = -1;
            QTimer::singleShot(0, window.get(), [&] {
                QTreeWidget* tree = window->extraDataDialog()->tree();
                comments = tree->findItems("#comment", Qt::MatchExactly | Qt::MatchRecursive).size();
                window->extraDataDialog()->reject();
            });
            action->trigger();
            QCOMPARE(comments > 0, path == commented);
            QVERIFY(window->closeDocument());
        }
    }

    // Showing another page lays out that page alone: nothing above the tabs moves, so the main window is
    // not laid out again. A tab bar grown by a larger font still moves the page down, and a page's larger
    // minimum still reaches the window.
    void tabSwitchKeepsWindowLayout()
    {
        auto window = makeWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QVERIFY(window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->modeIndex(0));
        QTabWidget* tabs = window->categoryTabs();
        QVERIFY(tabs->count() > 2);
        // The first switch enables Back, which lays out the tool bar and so the window.
        tabs->setCurrentIndex(1);
        settle();
        int windowLayouts = 0;
        EventCounter counter(QEvent::LayoutRequest, &windowLayouts);
        window->installEventFilter(&counter);
        for (const int tab : {2, 0, 1}) {
            tabs->setCurrentIndex(tab);
            settle();
            const QWidget* page = window->tabCategory(tab)->widget();
            QVERIFY(page && page->isVisible());
            QCOMPARE(page->size(), tabs->currentWidget()->size());
        }
        QCOMPARE(windowLayouts, 0);
        QFont larger = tabs->tabBar()->font();
        larger.setPointSizeF(larger.pointSizeF() * 2);
        tabs->tabBar()->setFont(larger);
        settle();
        QCOMPARE(tabs->tabBar()->height(), tabs->tabBar()->sizeHint().height());
        QCOMPARE(tabs->currentWidget()->mapTo(tabs, QPoint()).y(), tabs->tabBar()->geometry().bottom() + 1);
        // A page that needs more room than before raises the window's minimum.
        tabs->currentWidget()->setMinimumHeight(2000);
        settle();
        QVERIFY(window->minimumSizeHint().height() > 2000);
    }

    // A page's filter shows the rows of the features whose name holds the text, in their order and from
    // where the first row stands, without the room of the rows it hides; the fields keep their column.
    void pageFilter_data()
    {
        QTest::addColumn<QString>("page");
        QTest::addColumn<QString>("filter");
        QTest::addColumn<QStringList>("shown");
        QTest::newRow("part of one name") << "Trigger"
                                          << "Frames" << QStringList{"FramesPerTrigger"};
        QTest::newRow("any case, last rows hidden") << "Trigger"
                                                    << "trigger" << QStringList{"TriggerMode",
                                                                                "TriggerSource",
                                                                                "TriggerActivation",
                                                                                "TriggerDelay",
                                                                                "TriggerLatencyCompensation",
                                                                                "TriggerDebounce",
                                                                                "FramesPerTrigger"};
        QTest::newRow("a switch alone") << "Trigger"
                                        << "Position" << QStringList{"EncoderStartPosition"};
        QTest::newRow("none") << "Trigger"
                              << "no such feature" << QStringList{};
        QTest::newRow("a member's name shows its list") << ""
                                                        << "focal" << QStringList{"Lens"};
    }

    void pageFilter()
    {
        QFETCH(QString, page);
        QFETCH(QString, filter);
        QFETCH(QStringList, shown);
        auto window = makeWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QVERIFY(window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        // A category of the first mode, or the global features.
        window->cameraTreeView()->setCurrentIndex(page.isEmpty() ? window->cameraTreeModel()->cameraIndex()
                                                                 : window->cameraTreeModel()->modeIndex(0));
        QTabWidget* tabs = window->categoryTabs();
        for (int tab = 0; tab < tabs->count(); ++tab) {
            if (tabs->tabText(tab) == page)
                tabs->setCurrentIndex(tab);
        }
        settle();
        QWidget* shownPage = window->tabCategory(tabs->currentIndex())->widget();
        auto* field = shownPage->findChild<QLineEdit*>(QStringLiteral("CategoryFilter"));
        auto* form = shownPage->findChild<QFormLayout*>();
        QVERIFY(field && form);

        const QVector<FormRow> all = formRows(form);
        QVERIFY(all.size() > 2);
        // The most room the page leaves between two rows, unfiltered.
        int spacing = 0;
        for (int row = 1; row < all.size(); ++row)
            spacing = qMax(spacing, all.at(row).label->y() - all.at(row - 1).label->geometry().bottom());

        field->setText(filter);
        settle();
        const QVector<FormRow> filtered = formRows(form);
        QStringList names;
        for (int row = 0; row < filtered.size(); ++row) {
            const FormRow& at = filtered.at(row);
            names << at.name;
            // Where the first row stood, or as close below the row above as unfiltered rows stand.
            const int above =
                row == 0 ? all.first().label->y() : filtered.at(row - 1).label->geometry().bottom();
            QVERIFY2(at.label->y() - above <= (row == 0 ? 0 : spacing), qPrintable(at.name));
            if (at.field)
                QCOMPARE(at.field->x(), all.first().field->x());
        }
        QCOMPARE(names.join(","), shown.join(","));
        // Taken to a feature, the user sees it: a filter that hides it is cleared, one that shows it stays.
        const QString first = all.first().name;
        const QString mode = page.isEmpty() ? QString() : window->windowElement()->camera()->mode(0)->name();
        QVERIFY(window->featureNavigator()->goTo(
            mode, page.isEmpty() ? QStringList{first} : QStringList{page, first}, 0));
        settle();
        QCOMPARE(field->text(), shown.contains(first) ? filter : QString());
        QCOMPARE(formRows(form).first().name, first);

        // The field's clear button shows while there is text to clear.
        QToolButton* clearButton = nullptr;
        for (QToolButton* button : field->findChildren<QToolButton*>()) {
            if (button->isVisible())
                clearButton = button;
        }
        QCOMPARE(clearButton != nullptr, !field->text().isEmpty());
        if (clearButton)
            QTest::mouseClick(clearButton, Qt::LeftButton);
        QVERIFY(field->text().isEmpty());
        settle();
        const QVector<FormRow> restored = formRows(form);
        QCOMPARE(restored.size(), all.size());
        for (int row = 0; row < all.size(); ++row) {
            QCOMPARE(restored.at(row).name, all.at(row).name);
            QCOMPARE(restored.at(row).label->geometry(), all.at(row).label->geometry());
        }
    }

    // A tab switch marks every widget of the page shown for repainting; each is painted once, whether the
    // page is new or seen before.
    void pagePaintedOnce()
    {
        auto window = makeWindow();
        window->show();
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QVERIFY(window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->modeIndex(0));
        settle();
        QTabWidget* tabs = window->categoryTabs();
        QVERIFY(tabs->count() > 2);
        const int start = tabs->currentIndex();
        for (const int tab : {(start + 1) % tabs->count(), start, (start + 1) % tabs->count()}) {
            PaintCounts paints;
            qApp->installEventFilter(&paints);
            tabs->setCurrentIndex(tab);
            settle();
            qApp->removeEventFilter(&paints);
            const QWidget* page = window->tabCategory(tab)->widget();
            int painted = 0;
            for (auto count = paints.m_counts.cbegin(); count != paints.m_counts.cend(); ++count) {
                const auto* widget = qobject_cast<const QWidget*>(count.key());
                if (!widget || !page->isAncestorOf(widget))
                    continue;
                ++painted;
                QVERIFY2(count.value() == 1, widget->metaObject()->className());
            }
            QVERIFY(painted > 3);
        }
    }

    // Every page of the window, long or short, with long labels or short, puts its fields at one place.
    void pagesShareFieldColumn()
    {
        auto window = makeWindow();
        window->show();
        // Without the docks a state saved by an earlier window may have shown, and low enough that the
        // longer pages need their scroll bar and the shorter ones do not.
        for (QDockWidget* dock : window->findChildren<QDockWidget*>())
            dock->hide();
        window->resize(1000, 520);
        QVERIFY(QTest::qWaitForWindowExposed(window.get()));
        QVERIFY(window->openFile(copyExample(m_dir->filePath("cam.lumex"))));
        QTabWidget* tabs = window->categoryTabs();
        QSet<bool> scrollBars;
        QSet<int> starts;
        QSet<int> widths;
        // A page is laid out at one width, also one that turns out to need its scroll bar.
        ContentWidths contentWidths;
        qApp->installEventFilter(&contentWidths);
        const auto visitAll = [&] {
            for (int tab = 0; tab < tabs->count(); ++tab) {
                tabs->setCurrentIndex(tab);
                settle();
                auto* page = qobject_cast<QScrollArea*>(window->tabCategory(tab)->widget());
                QVERIFY(page);
                const QVector<FormRow> rows = formRows(page->findChild<QFormLayout*>());
                for (const FormRow& row : rows) {
                    if (!row.field)
                        continue;
                    starts << row.field->mapTo(tabs, QPoint()).x();
                    // As wide as the others, unless the page is wider than the window.
                    if (!page->horizontalScrollBar()->isVisible()) {
                        widths << row.field->width();
                        scrollBars << page->verticalScrollBar()->isVisible();
                    }
                    break;
                }
            }
        };
        window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->modeIndex(0));
        visitAll();
        window->cameraTreeView()->setCurrentIndex(window->cameraTreeModel()->cameraIndex());
        visitAll();
        qApp->removeEventFilter(&contentWidths);
        QCOMPARE(scrollBars.size(), 2);
        QCOMPARE(starts.size(), 1);
        QCOMPARE(widths.size(), 1);
        QVERIFY(!contentWidths.m_widths.isEmpty());
        for (const QSet<int>& given : qAsConst(contentWidths.m_widths))
            QCOMPARE(given.size(), 1);
    }

    // The window's tab bar draws its tabs from kept pictures: they must look as the style draws them,
    // for every tab and state, and again after the current tab, the side or the direction changes.
    void tabsLookAsDrawn_data()
    {
        QTest::addColumn<int>("tabCount");
        QTest::addColumn<int>("shape");
        QTest::addColumn<int>("direction");
        QTest::addColumn<bool>("enabled");
        QTest::newRow("north") << 5 << int(QTabBar::RoundedNorth) << int(Qt::LeftToRight) << true;
        QTest::newRow("south") << 5 << int(QTabBar::RoundedSouth) << int(Qt::LeftToRight) << true;
        QTest::newRow("west") << 4 << int(QTabBar::RoundedWest) << int(Qt::LeftToRight) << true;
        QTest::newRow("right to left") << 5 << int(QTabBar::RoundedNorth) << int(Qt::RightToLeft) << true;
        QTest::newRow("one tab") << 1 << int(QTabBar::RoundedNorth) << int(Qt::LeftToRight) << true;
        QTest::newRow("disabled") << 3 << int(QTabBar::RoundedNorth) << int(Qt::LeftToRight) << false;
    }

    void tabsLookAsDrawn()
    {
        QFETCH(int, tabCount);
        QFETCH(int, shape);
        QFETCH(int, direction);
        QFETCH(bool, enabled);
        QuietTabWidget kept;
        QTabWidget plain;
        for (QTabWidget* tabs : {static_cast<QTabWidget*>(&kept), &plain}) {
            for (int tab = 0; tab < tabCount; ++tab)
                tabs->addTab(new QWidget,
                             QStringLiteral("Tab %1%2").arg(tab).arg(QString(tab, QLatin1Char('x'))));
            tabs->tabBar()->setShape(QTabBar::Shape(shape));
            tabs->setLayoutDirection(Qt::LayoutDirection(direction));
            tabs->setEnabled(enabled);
            tabs->resize(700, 400);
            tabs->show();
            QVERIFY(QTest::qWaitForWindowExposed(tabs));
        }
        QVERIFY(kept.tabBar()->style() != plain.tabBar()->style());
        const auto differs = [&] {
            const QImage left = kept.tabBar()->grab().toImage().convertToFormat(QImage::Format_ARGB32);
            const QImage right = plain.tabBar()->grab().toImage().convertToFormat(QImage::Format_ARGB32);
            if (left.size() != right.size())
                return QStringLiteral("sizes differ");
            // Drawing into a picture and then onto the bar rounds antialiased edges once more.
            for (int y = 0; y < left.height(); ++y) {
                for (int x = 0; x < left.width(); ++x) {
                    const QRgb a = left.pixel(x, y);
                    const QRgb b = right.pixel(x, y);
                    if (qAbs(qRed(a) - qRed(b)) > 2 || qAbs(qGreen(a) - qGreen(b)) > 2 ||
                        qAbs(qBlue(a) - qBlue(b)) > 2 || qAbs(qAlpha(a) - qAlpha(b)) > 2)
                        return QStringLiteral("pixel %1,%2 differs").arg(x).arg(y);
                }
            }
            return QString();
        };
        for (int current : {0, tabCount - 1, tabCount / 2, 0}) {
            kept.setCurrentIndex(current);
            plain.setCurrentIndex(current);
            QCOMPARE(differs(), QString());
        }
    }

    void titleRule_data() { addTextRows("tests/app/data/title-rule.txt"); }

    void titleRule()
    {
        QFETCH(QString, folder);
        QFETCH(QString, shown);
        const QString file = QDir::toNativeSeparators(QDir(folder).filePath("cam.lumex"));
        QCOMPARE(Window::titleFor(file), "Orvex (" + shown + QDir::separator() + "cam.lumex)");
    }
};

QTEST_MAIN(TestWindow)
#include "tst_window.moc"
