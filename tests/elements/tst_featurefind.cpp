#include "FileFixtures.h"
#include "TestSupport.h"
#include "elements/FeatureComparison.h"
#include "elements/FeatureIndex.h"
#include "elements/FeatureSearch.h"
#include "elements/ModeCategoryElementBase.h"
#include "elements/ModeElement.h"
#include "elements/UndoRedoStack.h"
#include "elements/ValueFeatureElementBase.h"

#include <QTest>

using namespace Orvex;

namespace {

// The lines under "[a_row]" in a golden file, up to the next such header.
QStringList goldenBlock(const QString& a_file, const QString& a_row)
{
    const QStringList lines =
        QString::fromUtf8(OrvexTest::fileBytes(OrvexTest::sourcePath(a_file))).split('\n');
    const int start = lines.indexOf('[' + a_row + ']');
    QStringList block;
    for (int line = start + 1; start >= 0 && line < lines.size() && !lines.at(line).startsWith('['); ++line)
        block << lines.at(line);
    return block.filter(QRegularExpression("."));
}

// Every value of a mode, switched-off categories included, as the undo of a copy must bring it back.
QStringList snapshot(const ModeElement* a_mode)
{
    QStringList lines;
    for (const ModeCategoryElementBase* category : a_mode->categories()) {
        lines << category->name() + (FeatureIndex::isPresent(category) ? " on" : " off");
        FeatureIndex::visit(
            category, FeatureIndex::scopePath(a_mode), true,
            [&](const FeatureIndex::Entry& a_entry) { lines << a_entry.path + '=' + a_entry.value; });
    }
    return lines;
}

} // namespace

// Finding and comparing on the shipped CoaXPress example, read from its elements alone. Each row loads
// the file afresh, so that its modes are not built yet, as after opening it.
class TestFeatureFind : public QObject
{
    Q_OBJECT

    static QString example() { return OrvexTest::sourcePath("examples/Example_CXP.lumex"); }

private slots:
    void search_data()
    {
        OrvexTest::addTableRows("tests/elements/data/find/search.txt", {"text", "options"});
    }

    // Options: n names, v values, d documentation, c case, w whole word, r regular expression. Searched
    // again once every match has been gone to, which builds the modes, the same matches lead to the same
    // features.
    void search()
    {
        QFETCH(QByteArray, text);
        QFETCH(QByteArray, options);
        FeatureSearch::Options search{text,
                                      options.contains('n'),
                                      options.contains('v'),
                                      options.contains('d'),
                                      options.contains('c'),
                                      options.contains('w'),
                                      options.contains('r')};
        OrvexTest::CameraDocument document;
        document.load(example());
        QStringList found;
        const QVector<FeatureSearch::Match> matches = FeatureSearch::findAll(document.camera(), search);
        for (const FeatureSearch::Match& match : matches)
            found << QStringList{match.scope, match.category, match.path, match.value}.join(" | ");
        QCOMPARE(found, goldenBlock("tests/elements/data/find/search-expected.txt", QTest::currentDataTag()));
        for (const ModeElement* mode : document.camera()->modes())
            QVERIFY2(!mode->isBuilt(), "a search built a mode");

        QVector<ElementBase*> features;
        for (const FeatureSearch::Match& match : matches)
            features << (match.feature ? static_cast<ElementBase*>(match.feature.data())
                                       : match.locator.resolve(document.camera()));
        const QVector<FeatureSearch::Match> again = FeatureSearch::findAll(document.camera(), search);
        QCOMPARE(again.size(), matches.size());
        for (int index = 0; index < again.size(); ++index) {
            QVERIFY(again.at(index).feature);
            QCOMPARE(static_cast<ElementBase*>(again.at(index).feature.data()), features.at(index));
            QCOMPARE(again.at(index).instance, matches.at(index).instance);
            QCOMPARE(QStringList({again.at(index).scope, again.at(index).category, again.at(index).path,
                                  again.at(index).value})
                         .join(" | "),
                     found.at(index));
        }
        for (const ModeElement* mode : document.camera()->modes()) {
            for (const ModeCategoryElementBase* category : mode->categories())
                QVERIFY2(!category->widget(), "a search built a page");
        }
    }

    // Two cameras compared before and after their modes are built show the same rows.
    void compareCameras()
    {
        OrvexTest::CameraDocument left;
        OrvexTest::CameraDocument right;
        left.load(example());
        right.load(OrvexTest::sourcePath("tests/elements/data/find/other-camera.lumex"));
        const auto rows = [&] {
            QStringList lines;
            for (const FeatureComparison::Row& row :
                 FeatureComparison::compareCameras(left.camera(), right.camera(), true))
                lines << QStringList{row.scope,
                                     row.category,
                                     row.path,
                                     row.left,
                                     row.right,
                                     QString::number(row.unit),
                                     QString::number(row.feature),
                                     row.differs ? "differs" : "same"}
                             .join(" | ");
            return lines;
        };
        const QStringList unbuilt = rows();
        for (OrvexTest::CameraDocument* document : {&left, &right}) {
            for (const ModeElement* mode : document->camera()->modes()) {
                QVERIFY(!mode->isBuilt());
                mode->categories();
            }
        }
        QCOMPARE(rows(), unbuilt);
        QStringList differences;
        for (const QString& row : unbuilt.filter(QRegularExpression(" \\| differs$")))
            differences << row.section(" | ", 0, 4);
        QCOMPARE(differences, goldenBlock("tests/elements/data/find/compare-expected.txt", "cameras"));
    }

    void compareAndCopy_data()
    {
        OrvexTest::addTableRows("tests/elements/data/find/compare.txt",
                                {"left", "right", "category", "toLeft"});
    }

    // The differences of two modes, then one category copied across as one step that undo takes back
    // whole and redo makes again.
    void compareAndCopy()
    {
        QFETCH(QByteArray, left);
        QFETCH(QByteArray, right);
        QFETCH(QByteArray, category);
        QFETCH(QByteArray, toLeft);
        OrvexTest::CameraDocument document;
        document.load(example());
        ModeElement* leftMode = document.camera()->modeByName(left);
        ModeElement* rightMode = document.camera()->modeByName(right);
        const QVector<FeatureComparison::Row> rows =
            FeatureComparison::compareModes(leftMode, rightMode, false);
        QStringList lines;
        QVector<FeatureComparison::Row> chosen;
        for (const FeatureComparison::Row& row : rows) {
            lines << QStringList{row.category, row.path, row.left, row.right}.join(" | ");
            if (row.category == category)
                chosen << row;
        }
        QCOMPARE(lines,
                 goldenBlock("tests/elements/data/find/compare-expected.txt", QTest::currentDataTag()));

        ModeElement* target = toLeft == "yes" ? leftMode : rightMode;
        const QStringList before = snapshot(target);
        UndoRedoStack* history = document.window.undoRedoStack();
        const int steps = history->index();
        QVERIFY(FeatureComparison::copy(chosen, toLeft == "yes", &document.window) > 0);
        const QStringList copied = snapshot(target);
        QCOMPARE(history->index(), steps + 1);
        for (const FeatureComparison::Row& row : FeatureComparison::compareModes(leftMode, rightMode, false))
            QVERIFY2(row.category != category, qPrintable(row.path));
        history->unapply();
        QCOMPARE(snapshot(target), before);
        history->reapply();
        QCOMPARE(snapshot(target), copied);
        history->unapply();
    }
};

QTEST_MAIN(TestFeatureFind)
#include "tst_featurefind.moc"
