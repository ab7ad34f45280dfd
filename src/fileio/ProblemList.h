#pragma once

#include "elements/CameraElement.h"
#include "fileio/CameraValidator.h"

#include <QHash>
#include <QObject>
#include <QPointer>
#include <QStringList>
#include <QVector>

#include <memory>

namespace Orvex {

class LumexTree;
class ModeElement;

// The problems of one open document, kept by scope (global features, each mode, the mode names) so
// that after an edit only what can have changed is checked again: the global features, the modes
// shown or added since, and the names; modes that left the camera take their problems with them.
// Content the schema does not know is found once, at open, since editing never adds any.
class ProblemList : public QObject
{
    Q_OBJECT

public:
    explicit ProblemList(QObject* a_parent = nullptr);
    ~ProblemList() override;

    // Checks the whole camera; the camera and the tree are not owned and must outlive the list or be
    // detached first.
    void attach(const CameraElement* a_camera, const LumexTree* a_tree,
                const CameraValidator::SchemaFacts& a_schema);
    void detach();
    bool isAttached() const { return m_camera; }

    // Checks again what an edit can have changed: the global features, a_mode (the camera's current
    // mode when null), every mode not checked yet, and the mode names.
    void refresh(const ModeElement* a_mode = nullptr);

    // In document order.
    QVector<ValidationProblem> problems() const { return m_problems; }
    int count(ValidationProblem::Severity a_severity) const;

signals:
    void changed();

private:
    void assemble();
    // Only modes with problems are kept: the list is walked after every step, and a look-up in a table
    // of every mode of a large file misses the cache each time.
    void keep(const ModeElement* a_mode, QVector<ValidationProblem> a_problems);

    QPointer<CameraElement> m_camera;
    std::unique_ptr<CameraValidator> m_validator;
    QVector<ValidationProblem> m_global;
    // Modes without problems have no entry.
    QHash<const ModeElement*, QVector<ValidationProblem>> m_modes;
    // Found at open, by the mode they stand in (null: outside any mode).
    QHash<const ModeElement*, QVector<ValidationProblem>> m_unknown;
    QVector<ValidationProblem> m_names;
    // The modes and their names as last checked.
    QVector<ModeElement*> m_order;
    QStringList m_modeNames;
    // The element name generation m_modeNames were taken at.
    quint64 m_namesChecked = 0;
    QVector<ValidationProblem> m_problems;
};

} // namespace Orvex
