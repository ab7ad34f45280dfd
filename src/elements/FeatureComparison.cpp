#include "elements/FeatureComparison.h"

#include "elements/CameraElement.h"
#include "elements/CameraGlobalCategory.h"
#include "elements/FeatureIndex.h"
#include "elements/GenericModeCategory.h"
#include "elements/ModeElement.h"
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

QVector<Value> values(const CategoryElementBase* a_category, const QStringList& a_scopePath)
{
    QVector<Value> result;
    FeatureIndex::visit(a_category, a_scopePath, false, [&result](const FeatureIndex::Entry& a_entry) {
        result.append({a_entry.path, a_entry.value, a_entry.topFeature});
    });
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

void FeatureComparison::compareCategories(const QString& a_scope, CategoryElementBase* a_left,
                                          const QStringList& a_leftScopePath, CategoryElementBase* a_right,
                                          const QStringList& a_rightScopePath, bool a_all,
                                          QVector<Row>& a_rows)
{
    Row row;
    row.scope = a_scope;
    row.category = a_left->name();
    row.leftCategory = a_left;
    row.rightCategory = a_right;
    const bool leftPresent = FeatureIndex::isPresent(a_left);
    const bool rightPresent = FeatureIndex::isPresent(a_right);
    if (!leftPresent && !rightPresent)
        return;
    if (leftPresent != rightPresent) {
        row.unit = Row::Category;
        row.path = a_left->name();
        row.left = leftPresent ? presentText() : absentText();
        row.right = rightPresent ? presentText() : absentText();
        row.differs = true;
        a_rows.append(row);
        return;
    }

    const QVector<Value> left = values(a_left, a_leftScopePath);
    const QVector<Value> right = values(a_right, a_rightScopePath);
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
    const QStringList leftPath = FeatureIndex::scopePath(a_left);
    const QStringList rightPath = FeatureIndex::scopePath(a_right);
    const int count = qMin(a_left->categoryCount(), a_right->categoryCount());
    for (int position = 0; position < count; ++position) {
        ModeCategoryElementBase* left = a_left->category(position);
        ModeCategoryElementBase* right = a_right->category(position);
        // Both come from one schema, so the same position holds the same category.
        if (left->name() == right->name())
            compareCategories(a_scope, left, leftPath, right, rightPath, a_all, a_rows);
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
    compareCategories(QStringLiteral("camera"), a_left->globalCategory(), FeatureIndex::scopePath(a_left),
                      a_right->globalCategory(), FeatureIndex::scopePath(a_right), a_all, rows);

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
    for (const Row& row : a_rows) {
        CategoryElementBase* target = a_toLeft ? row.leftCategory : row.rightCategory;
        CategoryElementBase* source = a_toLeft ? row.rightCategory : row.leftCategory;
        if (!row.differs || row.unit == Row::Mode || !target || !source ||
            target->windowElement() != a_window)
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
