#include "ElementFixtures.h"
#include "elements/StringFeature.h"
#include "elements/StringFeatureCompleterHelper.h"

#include <QAbstractItemView>
#include <QLayout>
#include <QRegExpValidator>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;

namespace {

using Recording = OrvexTest::Recording<StringFeature>;

// Three rows, so that typing opens a popup; records what the base hands down.
class NamesModel : public StringFeatureCompleterItemModel
{
public:
    NamesModel() : StringFeatureCompleterItemModel(1) {}
    QStringList sources;
    QStringList latest;
    int rowCount(const QModelIndex& a_parent) const override { return a_parent.isValid() ? 0 : 3; }
    QVariant data(const QModelIndex& a_index, int a_role) const override
    {
        return a_role == Qt::DisplayRole ? QVariant(QStringLiteral("Reg%1").arg(a_index.row())) : QVariant();
    }

protected:
    void sourceChanged(ValueFeatureElementBase* a_element, int a_index) override
    {
        sources << QStringLiteral("%1 %2").arg(a_element ? a_element->name() : "none").arg(a_index);
    }
    void latestValueChanged(const QString& a_value) override { latest << a_value; }
};

struct Scene
{
    HolderElement holder;
    Recording feature{&holder};
    explicit Scene(size_t a_count)
    {
        feature.setName("Address");
        feature.setMinOccurs(0);
        feature.setMaxOccurs(3);
        feature.setDataSet(QVector<QVariant>(int(a_count), QString()).toList());
    }
    QLineEdit* edit(size_t a_index) const { return feature.valueWidgetAs<QLineEdit>(a_index); }
};

const QString s_sample = QStringLiteral("The quick red fox jumped over the lazy dog.");

QRegExp schemaPattern(const QString& a_pattern)
{
    return QRegExp(a_pattern, Qt::CaseSensitive, QRegExp::W3CXmlSchema11);
}

} // namespace

class TestStringFeature : public QObject
{
    Q_OBJECT

private slots:
    void typingRestrictions_data();
    void typingRestrictions();
    void valueTakenWhenEditingFinishes_data();
    void valueTakenWhenEditingFinishes();
};

void TestStringFeature::typingRestrictions_data()
{
    OrvexTest::addTextRows("tests/elements/data/stringfeature/typing.txt");
}

void TestStringFeature::typingRestrictions()
{
    QFETCH(QString, pattern);
    QFETCH(QString, lengthText);
    QFETCH(QString, typed);
    QFETCH(QString, keptText);
    QFETCH(QString, shown);
    QFETCH(QString, validatedText);
    const int lengthMax = lengthText.isEmpty() ? int(StringFeature::DefaultLengthMax) : lengthText.toInt();
    const bool whileKept = keptText == "true";
    const bool validated = validatedText == "true";
    Scene scene(2);
    QVERIFY(scene.holder.show(scene.feature, true));
    scene.feature.setStringPattern(schemaPattern("[0-9]+"));
    const QPointer<QLineEdit> first = scene.edit(0);
    QList<QPointer<const QValidator>> old{first->validator(), scene.edit(1)->validator()};
    if (whileKept)
        scene.feature.setEnabled(false);
    scene.feature.setStringPattern(schemaPattern(pattern));
    scene.feature.setStringLengthMax(lengthMax);
    scene.feature.setDataSet(QVariantList{"", "", ""});

    // The first line edit is the kept one when the instances were all gone.
    QCOMPARE(scene.edit(0), first.data());
    for (int i = 0; i < (whileKept ? 1 : 2); ++i)
        QVERIFY(!old[i]);
    for (size_t i = 0; i < 3; ++i) {
        QLineEdit* edit = scene.edit(i);
        QTest::keyClicks(edit, typed);
        QCOMPARE(edit->text(), shown);
        QCOMPARE(edit->maxLength(), lengthMax);
        auto* validator = qobject_cast<const QRegExpValidator*>(edit->validator());
        QCOMPARE(validator != nullptr, validated);
        if (validator) {
            QCOMPARE(validator->parent(), edit);
            QCOMPARE(validator->regExp().pattern(), pattern);
        }
    }
    const int sampleWidth = first->fontMetrics().horizontalAdvance(s_sample.left(lengthMax));
    QVERIFY(scene.feature.maxSize().width() > sampleWidth);
    Recording unrestricted(&scene.holder);
    unrestricted.createWidget();
    QCOMPARE(scene.feature.maxSize().width() < unrestricted.maxSize().width(), lengthMax < s_sample.size());
}

void TestStringFeature::valueTakenWhenEditingFinishes_data()
{
    OrvexTest::addTextRows("tests/elements/data/stringfeature/finishing.txt");
}

void TestStringFeature::valueTakenWhenEditingFinishes()
{
    QFETCH(QString, fixed);
    QFETCH(QString, pattern);
    QFETCH(QString, lengthText);
    QFETCH(QString, loaded);
    QFETCH(QString, typed);
    QFETCH(QString, finishText);
    const int lengthMax = lengthText.isEmpty() ? int(StringFeature::DefaultLengthMax) : lengthText.toInt();
    const Qt::Key finish = OrvexTest::keyNamed(finishText);
    QFETCH(QString, value);
    QFETCH(QString, shown);
    Scene scene(2);
    NamesModel model;
    scene.feature.setStringPattern(schemaPattern(pattern));
    scene.feature.setStringLengthMax(lengthMax);
    if (!fixed.isEmpty())
        scene.feature.setFixedValue(fixed);
    QVERIFY(scene.holder.show(scene.feature, true));
    scene.feature.setCompleterModel(&model);
    QVERIFY(scene.feature.insertInstance(FeatureElementBase::NoIndex));
    scene.feature.setValue(2, loaded);
    const QString start = scene.feature.value(2).toString();
    QLineEdit* edit = scene.edit(2);
    QCOMPARE(edit->isReadOnly(), !fixed.isEmpty());
    QVERIFY(scene.edit(0)->completer());
    const QPointer<QCompleter> completer = edit->completer();
    QVERIFY(completer);
    QCOMPARE(completer->parent(), edit);
    QCOMPARE(completer->completionColumn(), 1);
    edit->setFocus();
    QTRY_VERIFY(edit->hasFocus());
    model.latest.clear();

    QTest::keyClicks(edit, typed);
    QCOMPARE(model.latest.size(), int(edit->text().size() - start.size()));
    QCOMPARE(scene.feature.value(2).toString(), start);
    // Typing opens the popup, which then takes the keyboard, as it does for a user.
    QWidget* popup = QApplication::activePopupWidget();
    QCOMPARE(popup != nullptr, !typed.isEmpty() && !edit->isReadOnly());
    QCOMPARE(model.sourceElement(), popup ? &scene.feature : nullptr);
    QCOMPARE(model.sourceIndex(), popup ? 2 : -1);
    QTest::keyClick(popup ? popup : edit, finish);
    if (finish == Qt::Key_Tab)
        QTRY_VERIFY(!edit->hasFocus());
    const QStringList sources = popup ? QStringList{"Address 2", "none -1"} : QStringList();
    QCOMPARE(model.sources, sources);
    model.clearSource();
    QCOMPARE(model.sources, sources);
    scene.feature.setStringLengthMax(2);

    QCOMPARE(scene.feature.value(2).toString(), value);
    QCOMPARE(scene.feature.pushes,
             value == start ? QStringList() : QStringList{QStringLiteral("2: %1 -> %2").arg(start, value)});
    QCOMPARE(edit->text(), shown);
    QCOMPARE(scene.feature.value(0).toString(), fixed);
    std::unique_ptr<StringFeature> clone(
        static_cast<StringFeature*>(scene.feature.cloneFeature(&scene.holder)));
    QCOMPARE(clone->dataSet(), scene.feature.dataSet());
    QCOMPARE(clone->stringPattern(), scene.feature.stringPattern());
    QCOMPARE(clone->stringLengthMax(), 2);
    QCOMPARE(clone->completerModel(), &model);
    scene.feature.setCompleterModel(nullptr);
    QVERIFY(!completer);
    QVERIFY(!edit->findChild<StringFeatureCompleterHelper*>());
}

QTEST_MAIN(TestStringFeature)
#include "tst_stringfeature.moc"
