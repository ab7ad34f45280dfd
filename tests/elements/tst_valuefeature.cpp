#include "ElementFixtures.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/ValueFeatureObserverBase.h"

#include <QGraphicsColorizeEffect>
#include <QLineEdit>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

// Text values in line edits; records each change handed over for undo as "index: old -> new".
class TestValueFeature : public OrvexTest::Recording<ValueFeatureElementBase>
{
public:
    explicit TestValueFeature(ElementBase* a_parent) : Recording(a_parent) { setValueProperty("text"); }

    QLineEdit* edit(size_t a_index) const { return valueWidgetAs<QLineEdit>(a_index); }
    QString displayText(size_t a_index) const override { return value(a_index).toString(); }
    QSize maxSize() const override { return QSize(); }
    ValueFeatureElementBase* cloneFeature(ElementBase*) const override { return nullptr; }

protected:
    QWidget* createInstanceValueWidget(size_t) override
    {
        auto* edit = new QLineEdit(widget());
        connect(edit, &QLineEdit::editingFinished, this, &TestValueFeature::userValueUpdate);
        return edit;
    }
    QVariant newInstanceValue() const override { return QStringLiteral("new"); }
};

// "upper" asks for upper case, "X" always for X, "more" for one more "+" each time, "pass" for nothing.
class TestObserver : public ValueFeatureObserverBase
{
public:
    explicit TestObserver(const QString& a_kind) : m_kind(a_kind) {}
    void observeValueChange(ValueFeatureElementBase* a_element, size_t a_index, const QVariant& a_newValue,
                            QVariant& a_replacement) override
    {
        QVERIFY(!a_replacement.isValid() && a_element->value(a_index) == a_newValue);
        const QString text = a_newValue.toString();
        if (m_kind != "pass")
            a_replacement = m_kind == "upper" ? text.toUpper() : m_kind == "X" ? "X" : text + '+';
    }

private:
    QString m_kind;
};

// "p,null" as a list of a string and a null value.
QVariantList values(const QString& a_text)
{
    QVariantList values;
    for (const QString& value : a_text.split(',', Qt::SkipEmptyParts))
        values << (value == "null" ? QVariant() : QVariant(value));
    return values;
}

} // namespace

class TestValueFeatureElement : public QObject
{
    Q_OBJECT

private slots:
    void userEdits_data();
    void userEdits();
    void directChanges_data();
    void directChanges();
};

void TestValueFeatureElement::userEdits_data()
{
    QTest::addColumn<QString>("fixed");
    QTest::addColumn<QString>("observers");
    QTest::addColumn<QString>("edit");
    QTest::addColumn<QStringList>("pushes");

    const auto row = [](const char* a_name, const char* a_fixed, const char* a_observers, const char* a_edit,
                        const QStringList& a_pushes) {
        QTest::newRow(a_name) << a_fixed << a_observers << a_edit << a_pushes;
    };
    row("typed", "", "", "1 b", {"1: a -> b"});
    row("typed equal value", "", "X", "1 a", {});
    row("null value", "", "X", "1 null", {});
    row("index beyond the instances", "", "X", "2 b", {});
    row("fixed value", "F", "upper", "0 b", {});
    row("observer that corrects nothing", "", "pass", "0 b", {"0: a -> b"});
    row("same correction every time", "", "X", "1 b", {"1: a -> b", "1: b -> X"});
    // Had X been asked while upper's correction was pending, b would have gone to X directly.
    row("first correction stops the walk", "", "pass upper X", "1 b",
        {"1: a -> b", "1: b -> B", "1: B -> X"});
    row("destroyed observer", "", "deleted", "0 b", {"0: a -> b"});
    QStringList endless{"1: a -> b"};
    for (QString value = "b"; endless.size() < 16; value += '+')
        endless << QStringLiteral("1: %1 -> %1+").arg(value);
    row("endless corrections are cut off", "", "more", "1 b", endless);
}

void TestValueFeatureElement::userEdits()
{
    QFETCH(QString, fixed);
    QFETCH(QString, observers);
    QFETCH(QString, edit);
    QFETCH(QStringList, pushes);
    HolderElement holder;
    TestValueFeature feature(&holder);
    feature.setMaxOccurs(2);
    feature.setDataSet(values("a,a"));
    feature.createWidget();
    feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
    std::vector<std::unique_ptr<TestObserver>> owned;
    for (const QString& kind : observers.split(' ', Qt::SkipEmptyParts)) {
        owned.push_back(std::make_unique<TestObserver>(kind));
        feature.addObserver(owned.back().get());
        feature.addObserver(owned.back().get());
    }
    if (observers == "deleted")
        owned.clear();
    QCOMPARE(feature.observers().size(), int(owned.size()));
    if (observers == "more")
        QTest::ignoreMessage(QtWarningMsg, QRegularExpression("keep correcting"));
    QSignalSpy changed(&feature, &ValueFeatureElementBase::valueChanged);

    const size_t index = edit.section(' ', 0, 0).toULongLong();
    const QString text = edit.section(' ', 1);
    if (text == "null" || index > 1) {
        feature.userSetValue(index, values(text).value(0));
    } else {
        feature.edit(index)->selectAll();
        QTest::keyClicks(feature.edit(index), text);
        QTest::keyClick(feature.edit(index), Qt::Key_Return);
    }

    QCOMPARE(feature.pushes, pushes);
    const QString unchanged = fixed.isEmpty() ? "a" : fixed;
    for (size_t i = 0; i < 2; ++i) {
        const QString expected = i == index && !pushes.isEmpty() ? pushes.last().section(' ', -1) : unchanged;
        QCOMPARE(feature.value(i).toString(), expected);
        QCOMPARE(feature.edit(i)->text(), expected);
    }
    QCOMPARE(changed.count(), pushes.isEmpty() ? 0 : 1);
    QVERIFY(pushes.isEmpty() || changed.first().first().value<size_t>() == index);
}

void TestValueFeatureElement::directChanges_data()
{
    QTest::addColumn<QString>("widget");
    QTest::addColumn<QString>("operations");
    QTest::addColumn<QString>("result");
    QTest::addColumn<QString>("changed");

    for (const char* widget : {"none", "before", "after"}) {
        const auto row = [widget](const char* a_name, const char* a_operations, const char* a_result,
                                  const char* a_changed) {
            QTest::addRow("%s, widget %s", a_name, widget) << widget << a_operations << a_result << a_changed;
        };
        row("set", "set 1 x", "a,x,c", "1");
        row("set equal value", "set 1 b", "a,b,c", "");
        row("set null", "set 1 null", "a,b,c", "");
        row("set beyond the instances", "set 3 x", "a,b,c", "");
        row("insert starts with the own value", "insert 1", "a,new,b,c", "");
        row("remove", "remove 1", "a,c", "");
        row("move", "move 0 2", "b,c,a", "");
        row("fixed value wins", "fixedValue F;set 0 x;insert 0", "F,F,F,F", "0 1 2");
        row("fixed value cleared", "fixedValue F;fixedValue null;set 0 x", "x,F,F", "0 1 2 0");
        row("default value", "defaultValue D;insert 3", "D,D,D,D", "0 1 2");
        row("data set shrinks", "dataSet p,null", "p,b", "0");
        row("data set grows to maxOccurs", "dataSet p,q,r,s,t,u", "p,q,r,s,t", "0 1 2 3 4");
        row("data set down to minOccurs", "dataSet ", "a", "");
    }
}

void TestValueFeatureElement::directChanges()
{
    QFETCH(QString, widget);
    QFETCH(QString, operations);
    QFETCH(QString, result);
    QFETCH(QString, changed);
    HolderElement holder;
    TestValueFeature feature(&holder);
    feature.setMaxOccurs(5);
    if (widget == "before")
        feature.createWidget();
    feature.setDataSet(values("a,b,c"));
    if (widget == "after")
        feature.createWidget();
    QStringList changedLog;
    connect(&feature, &ValueFeatureElementBase::valueChanged, this,
            [&](size_t a_index) { changedLog << QString::number(a_index); });

    for (const QString& operation : operations.split(';')) {
        const QStringList words = operation.split(' ');
        const size_t first = words[1].toULongLong();
        const QVariantList arguments = values(words.last());
        if (words[0] == "set")
            feature.setValue(first, arguments.value(0));
        else if (words[0] == "insert" || words[0] == "remove")
            words[0] == "insert" ? feature.insertInstance(first) : feature.removeInstance(first);
        else if (words[0] == "move")
            feature.moveInstance(first, words[2].toULongLong());
        else
            QVERIFY(feature.setProperty(words[0].toLatin1(),
                                        words[0] == "dataSet" ? arguments : arguments.value(0)));
    }

    const QStringList expected = result.split(',');
    QCOMPARE(feature.dataSet().toStringList(), expected);
    QVERIFY(feature.property("value") == expected[0] && feature.property("displayText") == expected[0]);
    QCOMPARE(changedLog.join(' '), changed);
    QVERIFY(feature.pushes.isEmpty());
    for (size_t i = 0; i < feature.instanceCount(); ++i) {
        QCOMPARE(feature.edit(i) != nullptr, widget != "none");
        if (feature.edit(i)) {
            QCOMPARE(feature.edit(i)->text(), expected[int(i)]);
            // Text typed without finishing the edit is no value, and raising shows the stored one again.
            feature.edit(i)->setText(QStringLiteral("typed"));
        }
    }
    feature.raise();
    QVERIFY(holder.isRaised());
    // The highlight tints the rows: the one asked for, or every one for an index beyond them.
    for (size_t index : {size_t(1), feature.instanceCount()}) {
        feature.highlight(index);
        for (size_t i = 0; feature.edit(i); ++i) {
            QCOMPARE(feature.edit(i)->text(), expected[int(i)]);
            const QGraphicsEffect* effect = feature.edit(i)->parentWidget()->graphicsEffect();
            QCOMPARE(qobject_cast<const QGraphicsColorizeEffect*>(effect) != nullptr,
                     i == 1 || index >= feature.instanceCount());
        }
    }
    QCOMPARE(feature.isHighlightActive(), widget != "none");
}

QTEST_MAIN(TestValueFeatureElement)
#include "tst_valuefeature.moc"
