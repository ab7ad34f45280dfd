#pragma once

#include "elements/ElementLocator.h"

#include <QPointer>
#include <QRegularExpression>
#include <QString>
#include <QVector>

#include <cstddef>

namespace Orvex {

class CameraElement;
class ValueFeatureElementBase;

// Finds values across the whole camera, its global features first, then each mode in order, reading
// the elements only (see FeatureIndex), or for a mode not built yet its document node, which it leaves
// unbuilt. The search goes scope by scope, so that a window can show the
// first matches while the rest are still being looked for.
class FeatureSearch
{
public:
    struct Options
    {
        QString text;
        bool inNames = true;
        bool inValues = true;
        bool inDocumentation = false;
        bool caseSensitive = false;
        bool wholeWord = false;
        bool regularExpression = false;
    };

    struct Match
    {
        // -1 for the camera's global features.
        int mode = -1;
        QString scope;
        QString category;
        QString path;
        QString value;
        // Null for a match in a mode that is not built: locator leads to its feature, and resolving it
        // builds the mode.
        QPointer<ValueFeatureElementBase> feature;
        ElementLocator locator;
        // FeatureIndex::NoInstance for a feature that has none.
        size_t instance = 0;
    };

    FeatureSearch(const CameraElement* a_camera, const Options& a_options);

    // False for an empty text and for a regular expression that does not compile; such a search finds
    // nothing.
    bool isValid() const;
    // Why the regular expression does not compile; empty otherwise.
    QString errorText() const;

    // Searches up to a_scopes more scopes; false once every scope has been searched.
    bool searchNext(int a_scopes);
    bool isFinished() const;
    const QVector<Match>& matches() const { return m_matches; }

    // The whole search at once.
    static QVector<Match> findAll(const CameraElement* a_camera, const Options& a_options);

    // The label of the camera's global features in the scope column.
    static QString cameraScopeName();

private:
    bool matches(const QString& a_text) const;

    QPointer<const CameraElement> m_camera;
    Options m_options;
    QRegularExpression m_expression;
    bool m_plain = false;
    // The next scope to search: -1 for the global features, then the modes.
    int m_nextScope = -1;
    QVector<Match> m_matches;
};

} // namespace Orvex
