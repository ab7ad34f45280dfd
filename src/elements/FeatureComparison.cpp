#include "elements/FeatureComparison.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureIndex.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
#include "elements/UnbuiltModeReader.h"
#include "elements/UndoRedoPropertySet.h"
#include "elements/UndoRedoStack.h"
#include "elements/WindowElement.h"

#include <QHash>
#include <QSet>

namespace Orvex {

namespace {

struct Value
{
    QString path;
    QString value;
    int feature;
};

QVector<Value> values(const CategoryElementBase* a_category, const QStringList& a_scopePath,
                      const LumexTreeElement* a_modeNode)
{
    QVector<Value> result;
    const auto visitor = [&result](const FeatureIndex::Entry& a_entry) {
        result.append({a_entry.path, a_entry.value, a_entry.topFeature});
    };
    if (a_modeNode)
        FeatureIndex::visitUnbuilt(a_category, a_modeNode, a_scopePath, false, visitor);
    else
        FeatureIndex::visit(a_category, a_scopePath, false, visitor);
    return result;
}

QString modeScope(const ModeElement* a_mode)
{
    return QStringLiteral("mode=") + a_mode->name();
}

// Writes a_source's instances and values into a_target and records the change on the open batch.
bool carry(FeatureElementBase* a_source, FeatureElementBase* a_target, WindowElement* a_window)
{
    if (!a_source || !a_target)
        return false;
    const QVariant before = a_target->dataSet();
    const QVariant wanted = a_source->dataSet();
    if (before == wanted)
        return false;
    a_target->setDataSet(wanted);
    a_window->undoRedoStack()->push(QSharedPointer<UndoRedoPropertySet>::create(
        a_window, a_target, QByteArrayLiteral("dataSet"), before, a_target->dataSet()));
    return true;
}

} // namespace

QString FeatureComparison::absentText()
{
    return QStringLiteral("(absent)");
}

QString FeatureComparison::presentText()
{
    return QStringLiteral("(present)");
}

void FeatureComparison::compareCategories(const QString& a_scope, const Side& a_left, const Side& a_right,
                                          bool a_all, int a_position, QVector<Row>& a_rows)
{
    Row row;
    row.scope = a_scope;
    row.category = a_left.category->name();
    // A category of an unbuilt mode is its template, which nothing may change.
    row.leftCategory = a_left.modeNode ? nullptr : a_left.category;
    row.rightCategory = a_right.modeNode ? nullptr : a_right.category;
    row.leftMode = a_left.mode;
    row.rightMode = a_right.mode;
    row.categoryPosition = a_position;
    const auto present = [](const Side& a_side) {
        return a_side.modeNode ? UnbuiltModeReader::categoryNode(a_side.modeNode, a_side.category) != nullptr
                               : FeatureIndex::isPresent(a_side.category);
    };
    const bool leftPresent = present(a_left);
    const bool rightPresent = present(a_right);
    if (!leftPresent && !rightPresent)
        return;
    if (leftPresent != rightPresent) {
        row.unit = Row::Category;
        row.path = a_left.category->name();
        row.left = leftPresent ? presentText() : absentText();
        row.right = rightPresent ? presentText() : absentText();
        row.differs = true;
        a_rows.append(row);
        return;
    }

    const QVector<Value> left = values(a_left.category, a_left.scopePath, a_left.modeNode);
    const QVector<Value> right = values(a_right.category, a_right.scopePath, a_right.modeNode);
    QHash<QString, int> rightByPath;
    rightByPath.reserve(right.size());
    for (int position = 0; position < right.size(); ++position)
        rightByPath.insert(right.at(position).path, position);
    QVector<bool> paired(right.size(), false);
    const auto append = [&](const Value& a_value, const QString& a_left, const QString& a_right) {
        row.path = a_value.path;
        row.feature = a_value.feature;
        row.left = a_left;
        row.right = a_right;
        row.differs = a_left != a_right;
        if (row.differs || a_all)
            a_rows.append(row);
    };
    for (const Value& value : left) {
        const int other = rightByPath.value(value.path, -1);
        if (other >= 0)
            paired[other] = true;
        append(value, value.value, other >= 0 ? right.at(other).value : absentText());
    }
    for (int position = 0; position < right.size(); ++position) {
        if (!paired.at(position))
            append(right.at(position), absentText(), right.at(position).value);
    }
}

void FeatureComparison::compareModeCategories(const QString& a_scope, ModeElement* a_left,
                                              ModeElement* a_right, bool a_all, QVector<Row>& a_rows)
{
    // A mode not built yet is compared through its camera's mode template, without building it.
    const auto categoriesOf = [](const ModeElement* a_mode, const LumexTreeElement** a_modeNode) {
        const ModeElement* modeTemplate = a_mode->camera() ? a_mode->camera()->modeTemplate() : nullptr;
        *a_modeNode = modeTemplate ? a_mode->unbuiltContent() : nullptr;
        return *a_modeNode ? modeTemplate->categories() : a_mode->categories();
    };
    Side left{nullptr, FeatureIndex::scopePath(a_left), nullptr, a_left};
    Side right{nullptr, FeatureIndex::scopePath(a_right), nullptr, a_right};
    const QVector<ModeCategoryElementBase*> leftCategories = categoriesOf(a_left, &left.modeNode);
    const QVector<ModeCategoryElementBase*> rightCategories = categoriesOf(a_right, &right.modeNode);
    const int count = qMin(leftCategories.size(), rightCategories.size());
    for (int position = 0; position < count; ++position) {
        left.category = leftCategories.at(position);
        right.category = rightCategories.at(position);
        // Both come from one schema, so the same position holds the same category.
        if (left.category->name() == right.category->name())
            compareCategories(a_scope, left, right, a_all, position, a_rows);
    }
}

QVector<FeatureComparison::Row> FeatureComparison::compareModes(ModeElement* a_left, ModeElement* a_right,
                                                                bool a_all)
{
    QVector<Row> rows;
    if (a_left && a_right)
        compareModeCategories(QString(), a_left, a_right, a_all, rows);
    return rows;
}

QVector<FeatureComparison::Row> FeatureComparison::compareCameras(CameraElement* a_left,
                                                                  CameraElement* a_right, bool a_all)
{
    QVector<Row> rows;
    if (!a_left || !a_right)
        return rows;
    compareCategories(QStringLiteral("camera"),
                      {a_left->globalCategory(), FeatureIndex::scopePath(a_left), nullptr, nullptr},
                      {a_right->globalCategory(), FeatureIndex::scopePath(a_right), nullptr, nullptr}, a_all,
                      -1, rows);

    const auto modeRow = [&rows](ModeElement* a_mode, bool a_left) {
        Row row;
        row.scope = modeScope(a_mode);
        row.unit = Row::Mode;
        row.left = a_left ? presentText() : absentText();
        row.right = a_left ? absentText() : presentText();
        row.differs = true;
        rows.append(row);
    };
    QSet<QString> leftNames;
    for (ModeElement* mode : a_left->modes()) {
        leftNames.insert(mode->name());
        if (ModeElement* other = a_right->modeByName(mode->name()))
            compareModeCategories(modeScope(mode), mode, other, a_all, rows);
        else
            modeRow(mode, true);
    }
    for (ModeElement* mode : a_right->modes()) {
        if (!leftNames.contains(mode->name()))
            modeRow(mode, false);
    }
    return rows;
}

int FeatureComparison::differenceCount(const QVector<Row>& a_rows)
{
    int count = 0;
    for (const Row& row : a_rows)
        count += row.differs ? 1 : 0;
    return count;
}

int FeatureComparison::copy(const QVector<Row>& a_rows, bool a_toLeft, WindowElement* a_window)
{
    if (!a_window || a_window->undoRedoStack()->isBusy())
        return 0;
    QSet<QPair<CategoryElementBase*, int>> done;
    int changed = 0;
    a_window->undoRedoStack()->openBatch(a_toLeft ? QStringLiteral("Copy to Left")
                                                  : QStringLiteral("Copy to Right"));
    // A category of a mode that was not built when compared is found now, which builds the mode.
    const auto categoryOf = [](const Row& a_row, bool a_left) -> CategoryElementBase* {
        CategoryElementBase* category = a_left ? a_row.leftCategory : a_row.rightCategory;
        ModeElement* mode = a_left ? a_row.leftMode : a_row.rightMode;
        return category || !mode ? category : mode->category(a_row.categoryPosition);
    };
    for (const Row& row : a_rows) {
        if (!row.differs || row.unit == Row::Mode)
            continue;
        CategoryElementBase* target = categoryOf(row, a_toLeft);
        CategoryElementBase* source = categoryOf(row, !a_toLeft);
        if (!target || !source || target->windowElement() != a_window)
            continue;
        const int feature = row.unit == Row::Category ? -1 : row.feature;
        if (done.contains({target, feature}))
            continue;
        done.insert({target, feature});
        if (row.unit == Row::Feature) {
            changed += carry(source->features().value(feature), target->features().value(feature), a_window);
            continue;
        }
        auto* targetGeneric = qobject_cast<GenericModeCategory*>(target);
        auto* sourceGeneric = qobject_cast<GenericModeCategory*>(source);
        if (targetGeneric && sourceGeneric)
            changed += carry(sourceGeneric->categoryFeature(), targetGeneric->categoryFeature(), a_window);
        const QVector<FeatureElementBase*> targetFeatures = target->features();
        const QVector<FeatureElementBase*> sourceFeatures = source->features();
        for (int position = 0; position < targetFeatures.size(); ++position)
            changed += carry(sourceFeatures.value(position), targetFeatures.at(position), a_window);
    }
    a_window->undoRedoStack()->closeBatch();
    return changed;
}

} // namespace Orvex
