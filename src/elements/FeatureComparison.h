#pragma once

#include <QPointer>
#include <QString>
#include <QStringList>
#include <QVector>

namespace Orvex {

class CameraElement;
class CategoryElementBase;
class LumexTreeElement;
class ModeElement;
class WindowElement;

// How two modes, or two cameras of the same standard, differ value by value, read from their elements
// alone (see FeatureIndex), or for a mode not built yet from its document node, without building it.
// Values are paired by their path in the written file; a value only one side has stands against
// absentText() on the other. A category switched off on one side only is one row for the whole
// category, and a mode only one camera has is one row for the whole mode.
class FeatureComparison
{
public:
    struct Row
    {
        enum Unit
        {
            // The row's value belongs to feature `feature` of the categories, which a copy carries over.
            Feature,
            // The categories themselves differ in being switched on; a copy carries the whole category.
            Category,
            // A mode of one camera only; nothing can carry it over.
            Mode,
        };
        // "camera" or "mode=NAME" when cameras are compared, empty when modes are.
        QString scope;
        QString category;
        QString path;
        QString left;
        QString right;
        bool differs = false;
        Unit unit = Feature;
        int feature = -1;
        // The categories compared; for a mode category, also its mode and position, which give the
        // category of a mode that was not built when compared.
        QPointer<CategoryElementBase> leftCategory;
        QPointer<CategoryElementBase> rightCategory;
        QPointer<ModeElement> leftMode;
        QPointer<ModeElement> rightMode;
        int categoryPosition = -1;
    };

    static QString absentText();
    static QString presentText();

    // With a_all, values that are equal on both sides are listed too.
    static QVector<Row> compareModes(ModeElement* a_left, ModeElement* a_right, bool a_all);
    static QVector<Row> compareCameras(CameraElement* a_left, CameraElement* a_right, bool a_all);

    static int differenceCount(const QVector<Row>& a_rows);

    // Carries what a_rows stand for from one side to the other (to the left with a_toLeft) as a single
    // step on a_window's undo/redo stack: the whole feature a row's value belongs to, or the whole
    // category. The target side must belong to a_window's camera; rows that cannot be carried are left
    // out. Returns the number of features and categories changed; nothing is pushed when none is.
    static int copy(const QVector<Row>& a_rows, bool a_toLeft, WindowElement* a_window);

private:
    // One side of a category comparison: a built category, or the template of one in an unbuilt mode
    // with the mode's document node.
    struct Side
    {
        CategoryElementBase* category = nullptr;
        QStringList scopePath;
        const LumexTreeElement* modeNode = nullptr;
        ModeElement* mode = nullptr;
    };

    static void compareCategories(const QString& a_scope, const Side& a_left, const Side& a_right, bool a_all,
                                  int a_position, QVector<Row>& a_rows);
    static void compareModeCategories(const QString& a_scope, ModeElement* a_left, ModeElement* a_right,
                                      bool a_all, QVector<Row>& a_rows);
};

} // namespace Orvex
