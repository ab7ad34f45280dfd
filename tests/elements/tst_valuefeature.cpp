#include "ElementFixtures.h"
#include "elements/BooleanFeature.h"
#include "elements/EnumerationFeature.h"
#include "elements/StringFeature.h"
#include "elements/StringFeatureCompleterHelper.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/ValueFeatureObserverBase.h"
#include "widgets/FieldGuard.h"
#include "widgets/HighlightTint.h"

#include <QAbstractItemView>
#include <QCheckBox>
#include <QComboBox>
#include <QLayout>
#include <QLineEdit>
#include <QRegExpValidator>
#include <QRegularExpression>
#include <QSignalSpy>
#include <QTest>

using namespace Orvex;
using OrvexTest::HolderElement;
using OrvexTest::Recording;
using StringRecording = OrvexTest::Recording<StringFeature>;

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

QStringList itemTexts(const QComboBox* a_comboBox)
{
    QStringList texts;
    for (int i = 0; i < a_comboBox->count(); ++i)
        texts << a_comboBox->itemText(i);
    return texts;
}

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
    StringRecording feature{&holder};
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

class TestValueFeatures : public QObject
{
    Q_OBJECT

private slots:
    void userEdits_data() { OrvexTest::addTextRows("tests/elements/data/valuefeature/edits.txt"); }

    void userEdits()
    {
        QFETCH(QString, fixed);
        QFETCH(QString, observers);
        QFETCH(QString, edit);
        const QStringList pushes = OrvexTest::rowText("pushText").split("; ", Qt::SkipEmptyParts);
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
            const QString expected =
                i == index && !pushes.isEmpty() ? pushes.last().section(' ', -1) : unchanged;
            QCOMPARE(feature.value(i).toString(), expected);
            QCOMPARE(feature.edit(i)->text(), expected);
        }
        QCOMPARE(changed.count(), pushes.isEmpty() ? 0 : 1);
        QVERIFY(pushes.isEmpty() || changed.first().first().value<size_t>() == index);
    }

    void directChanges_data() { OrvexTest::addTextRows("tests/elements/data/valuefeature/direct.txt"); }

    void directChanges()
    {
        QFETCH(QString, widget);
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

        for (const QString& operation : OrvexTest::rowText("operations").split(';')) {
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

        const QStringList expected = OrvexTest::rowText("result").split(',');
        QCOMPARE(feature.dataSet().toStringList(), expected);
        QVERIFY(feature.property("value") == expected[0] && feature.property("displayText") == expected[0]);
        QCOMPARE(changedLog.join(' '), OrvexTest::rowText("changed"));
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
                const auto* tint = feature.edit(i)->parentWidget()->findChild<HighlightTint*>();
                QCOMPARE(tint && tint->isFlashing(), i == 1 || index >= feature.instanceCount());
            }
        }
        QCOMPARE(feature.isHighlightActive(), widget != "none");
    }

    void booleanClicks_data()
    {
        OrvexTest::addTextRows("tests/elements/data/booleanenumeration/boolean.txt");
    }

    void booleanClicks()
    {
        QFETCH(QString, fixed);
        QFETCH(QString, fileValue);
        const QStringList pushes = OrvexTest::rowText("pushText").split("; ", Qt::SkipEmptyParts);
        HolderElement holder;
        Recording<BooleanFeature> feature(&holder);
        feature.setMinOccurs(0);
        feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
        // Read as loading reads it, so "1" and "0" count as true and false.
        feature.setValueFromText(0, fileValue);
        QVERIFY(holder.show(feature));
        QPointer<QCheckBox> checkBox = qobject_cast<QCheckBox*>(feature.valueWidget(0));
        if (OrvexTest::rowText("switchOffAndOn") == "true") {
            // The check box waits, unseen, for the next instance, which starts on: the user switched it on.
            QVERIFY(feature.setProperty("enabled", false) && feature.setProperty("enabled", true));
            QCoreApplication::sendPostedEvents(nullptr, QEvent::DeferredDelete);
            QCOMPARE(feature.valueWidget(0), checkBox.data());
            QTRY_VERIFY(checkBox->isVisible());
        }

        for (int i = 0; i < OrvexTest::rowText("clicks").toInt(); ++i)
            QTest::mouseClick(checkBox, Qt::LeftButton);
        const bool checked = pushes.isEmpty() ? QVariant(fixed.isEmpty() ? fileValue : fixed).toBool()
                                              : pushes.last().endsWith("true");
        const QString text = checked ? "true" : "false";
        QVERIFY(checkBox->isChecked() == checked && feature.property("boolValue") == checked);
        QCOMPARE(checkBox->text(), text);
        QCOMPARE(feature.property("displayText").toString(), text);
        QCOMPARE(feature.pushes, pushes);
    }

    void enumerationSelection_data()
    {
        OrvexTest::addTextRows("tests/elements/data/booleanenumeration/enumeration.txt");
    }

    void enumerationSelection()
    {
        QFETCH(QString, fixed);
        QFETCH(QString, fileValue);
        QFETCH(QString, shownFirst);
        QFETCH(QString, key);
        QFETCH(QString, stored);
        HolderElement holder;
        Recording<EnumerationFeature> feature(&holder);
        feature.setFixedValue(fixed.isEmpty() ? QVariant() : fixed);
        if (shownFirst == "true")
            QVERIFY(holder.show(feature));
        QVERIFY(!feature.value().isValid() || !fixed.isEmpty());
        QSignalSpy warnings(&feature, &ValueFeatureElementBase::warning);
        QVERIFY(feature.addEntry("Auto") && feature.addEntry("Manual", " by hand "));
        QVERIFY(!feature.addEntry("Auto", "again") && feature.addEntry("Off"));
        QCOMPARE(warnings, (QList<QVariantList>{{"Duplicate Enumeration Entry",
                                                 "Skipping enumeration entry duplicate, \"Auto\"."}}));
        feature.setValue(0, fileValue.isEmpty() ? QVariant() : fileValue);
        if (shownFirst != "true")
            QVERIFY(holder.show(feature));
        auto* comboBox = qobject_cast<QComboBox*>(feature.valueWidget(0));
        QCOMPARE(comboBox->insertPolicy(), QComboBox::NoInsert);
        QCOMPARE(comboBox->isEnabled(), fixed.isEmpty());

        if (!key.isEmpty())
            QTest::keyClick(comboBox, OrvexTest::keyNamed(key));
        if (OrvexTest::rowText("undo") == "true")
            feature.setValue(0, fileValue);

        QCOMPARE(feature.displayText(), stored);
        QCOMPARE(comboBox->currentText(), OrvexTest::rowText("shown"));
        QCOMPARE(comboBox->currentData().toString(), stored);
        QStringList items{"Auto", "Manual -- by hand", "Off"};
        QCOMPARE(itemTexts(comboBox), stored == "Legacy" ? items << "Legacy" : items);
        QCOMPARE(feature.pushes.join(','), OrvexTest::rowText("pushed"));
    }

    void sizesAndClones()
    {
        class NullObserver : public ValueFeatureObserverBase
        {
            void observeValueChange(ValueFeatureElementBase*, size_t, const QVariant&, QVariant&) override {}
        } observer;
        for (bool boolean : {true, false}) {
            HolderElement holder;
            auto* enumeration = boolean ? nullptr : new EnumerationFeature(&holder);
            ValueFeatureElementBase* feature = enumeration;
            if (boolean) {
                feature = new BooleanFeature(&holder);
            } else {
                enumeration->addEntry("Auto");
                enumeration->addEntry("Manual", "set by hand, at length");
            }
            feature->setName("Template");
            feature->setMaxOccurs(3);
            feature->setDataSet(boolean ? QVariantList{"1", false} : QVariantList{"Auto", "Legacy"});
            feature->addObserver(&observer);
            QVERIFY(holder.show(*feature));

            // Wide enough for every value the widget can show, and in the widget's font.
            const QSize size = feature->maxSize();
            QWidget* valueWidget =
                feature->widget()->layout()->itemAt(0)->widget()->layout()->itemAt(0)->widget();
            for (const QVariant& value :
                 boolean ? QVariantList{true, false} : QVariantList{"Auto", "Manual"}) {
                feature->setValue(0, value);
                QVERIFY(size.width() >= valueWidget->sizeHint().width());
            }
            // A combo box's popup list is built when it opens, not with the page.
            QVERIFY(boolean || !valueWidget->findChild<QAbstractItemView*>());
            QFont font = feature->widget()->font();
            font.setPointSize(font.pointSize() * 3);
            feature->widget()->setFont(font);
            QVERIFY(feature->maxSize().height() > size.height());
            if (!boolean) {
                // Sized as QComboBox sizes a box by its contents length with an icon, in any font.
                QComboBox reference;
                reference.setFont(valueWidget->font());
                reference.setSizeAdjustPolicy(QComboBox::AdjustToMinimumContentsLengthWithIcon);
                reference.setMinimumContentsLength(24);
                QCOMPARE(valueWidget->sizeHint(), reference.sizeHint());
                QCOMPARE(valueWidget->minimumSizeHint(), reference.minimumSizeHint());
            }

            feature->setFixedValue(boolean ? QVariant(true) : QVariant("Legacy"));
            std::unique_ptr<ValueFeatureElementBase> clone(feature->cloneFeature(&holder));
            QVERIFY(clone->metaObject() == feature->metaObject() && clone->parent() == &holder &&
                    !clone->widget());
            QVERIFY(clone->name() == "Template" && clone->id() != feature->id() && clone->maxOccurs() == 3);
            QVERIFY(clone->dataSet() == feature->dataSet() && clone->fixedValue() == feature->fixedValue());
            QCOMPARE(clone->observers(), QList<ValueFeatureObserverBase*>{&observer});
            // Measured in the application's font, as the original was before, so with the same entries.
            QCOMPARE(clone->maxSize(), size);
        }
    }

    void typingRestrictions_data() { OrvexTest::addTextRows("tests/elements/data/stringfeature/typing.txt"); }

    void typingRestrictions()
    {
        QFETCH(QString, pattern);
        QFETCH(QString, lengthText);
        const int lengthMax =
            lengthText.isEmpty() ? int(StringFeature::DefaultLengthMax) : lengthText.toInt();
        const bool whileKept = OrvexTest::rowText("keptText") == "true";
        const bool validated = OrvexTest::rowText("validatedText") == "true";
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
            QTest::keyClicks(edit, OrvexTest::rowText("typed"));
            QCOMPARE(edit->text(), OrvexTest::rowText("shown"));
            QCOMPARE(edit->maxLength(), lengthMax);
            const FieldGuard* guard = FieldGuard::of(edit);
            QCOMPARE(guard && guard->isMarked(), OrvexTest::rowText("markedText") == "true");
            auto* validator = qobject_cast<const QRegExpValidator*>(edit->validator());
            QCOMPARE(validator != nullptr, validated);
            if (validator) {
                QCOMPARE(validator->parent(), edit);
                QCOMPARE(validator->regExp().pattern(), pattern);
            }
        }
        const int sampleWidth = first->fontMetrics().horizontalAdvance(s_sample.left(lengthMax));
        QVERIFY(scene.feature.maxSize().width() > sampleWidth);
        StringRecording unrestricted(&scene.holder);
        unrestricted.createWidget();
        QCOMPARE(scene.feature.maxSize().width() < unrestricted.maxSize().width(),
                 lengthMax < s_sample.size());
    }

    void valueTakenWhenEditingFinishes_data()
    {
        OrvexTest::addTextRows("tests/elements/data/stringfeature/finishing.txt");
    }

    void valueTakenWhenEditingFinishes()
    {
        QFETCH(QString, fixed);
        QFETCH(QString, lengthText);
        QFETCH(QString, typed);
        const int lengthMax =
            lengthText.isEmpty() ? int(StringFeature::DefaultLengthMax) : lengthText.toInt();
        const Qt::Key finish = OrvexTest::keyNamed(OrvexTest::rowText("finishText"));
        QFETCH(QString, value);
        Scene scene(2);
        NamesModel model;
        scene.feature.setStringPattern(schemaPattern(OrvexTest::rowText("pattern")));
        scene.feature.setStringLengthMax(lengthMax);
        if (!fixed.isEmpty())
            scene.feature.setFixedValue(fixed);
        QVERIFY(scene.holder.show(scene.feature, true));
        scene.feature.setCompleterModel(&model);
        QVERIFY(scene.feature.insertInstance(FeatureElementBase::NoIndex));
        scene.feature.setValue(2, OrvexTest::rowText("loaded"));
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
        QCOMPARE(scene.feature.pushes, value == start
                                           ? QStringList()
                                           : QStringList{QStringLiteral("2: %1 -> %2").arg(start, value)});
        QCOMPARE(edit->text(), OrvexTest::rowText("shown"));
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
};

QTEST_MAIN(TestValueFeatures)
#include "tst_valuefeature.moc"
