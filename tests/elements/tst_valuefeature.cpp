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
    OrvexTest::addTextRows("tests/elements/data/valuefeature/edits.txt");
}

void TestValueFeatureElement::userEdits()
{
    QFETCH(QString, fixed);
    QFETCH(QString, observers);
    QFETCH(QString, edit);
    QFETCH(QString, pushText);
    const QStringList pushes = pushText.split("; ", Qt::SkipEmptyParts);
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
    OrvexTest::addTextRows("tests/elements/data/valuefeature/direct.txt");
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
