#include "fileio/ProblemList.h"

#include "elements/CameraElement.h"
#include "elements/ModeElement.h"

#include <QSet>

#include <algorithm>

namespace Orvex {

ProblemList::ProblemList(QObject* a_parent) : QObject(a_parent)
{
}

ProblemList::~ProblemList() = default;

void ProblemList::attach(const CameraElement* a_camera, const LumexTree* a_tree,
                         const CameraValidator::SchemaFacts& a_schema)
{
    detach();
    if (!a_camera)
        return;
    m_camera = const_cast<CameraElement*>(a_camera);
    m_validator = std::make_unique<CameraValidator>(a_camera, a_tree, a_schema);
    const QHash<QString, QVector<ValidationProblem>> unknown = m_validator->checkUnknownContent();
    for (auto found = unknown.cbegin(); found != unknown.cend(); ++found)
        m_unknown[found.key().isEmpty() ? nullptr : a_camera->modeByName(found.key())] += found.value();
    m_global = m_validator->checkGlobal();
    m_order = a_camera->modes();
    for (const ModeElement* mode : qAsConst(m_order)) {
        keep(mode, m_validator->checkMode(mode));
        m_modeNames << mode->name();
    }
    m_names = m_validator->checkModeNames();
    m_namesChecked = ElementBase::nameGeneration();
    assemble();
}

void ProblemList::detach()
{
    const bool had = m_camera || !m_problems.isEmpty();
    m_camera = nullptr;
    m_validator.reset();
    m_global.clear();
    m_modes.clear();
    m_unknown.clear();
    m_names.clear();
    m_order.clear();
    m_modeNames.clear();
    m_problems.clear();
    if (had)
        emit changed();
}

void ProblemList::refresh(const ModeElement* a_mode)
{
    if (!m_camera || !m_validator)
        return;
    const QVector<ModeElement*> modes = m_camera->modes();
    const ModeElement* edited = a_mode ? a_mode : m_camera->currentMode();
    const bool reordered = modes != m_order;
    if (reordered) {
        // Modes came, went or moved: those still here keep what was found, new ones are checked.
        const QSet<const ModeElement*> checked(m_order.cbegin(), m_order.cend());
        QHash<const ModeElement*, QVector<ValidationProblem>> found = std::move(m_modes);
        m_modes.clear();
        for (const ModeElement* mode : modes) {
            if (!checked.contains(mode) || mode == edited)
                keep(mode, m_validator->checkMode(mode));
            else
                keep(mode, found.take(mode));
        }
        m_order = modes;
    } else if (edited && m_order.contains(const_cast<ModeElement*>(edited))) {
        keep(edited, m_validator->checkMode(edited));
    }
    m_global = m_validator->checkGlobal();
    // The names are judged together (duplicates), so they are checked again only when one changed; and
    // they are only compared when some element was renamed at all.
    if (reordered || ElementBase::nameGeneration() != m_namesChecked) {
        m_namesChecked = ElementBase::nameGeneration();
        QStringList names;
        names.reserve(modes.size());
        for (const ModeElement* mode : modes)
            names << mode->name();
        if (reordered || names != m_modeNames) {
            m_names = m_validator->checkModeNames();
            m_modeNames = names;
        }
    }
    assemble();
}

void ProblemList::keep(const ModeElement* a_mode, QVector<ValidationProblem> a_problems)
{
    if (a_problems.isEmpty())
        m_modes.remove(a_mode);
    else
        m_modes.insert(a_mode, std::move(a_problems));
}

int ProblemList::count(ValidationProblem::Severity a_severity) const
{
    return CameraValidator::count(m_problems, a_severity);
}

void ProblemList::assemble()
{
    m_problems = CameraValidator::byLine(m_global + m_unknown.value(nullptr));
    // Runs after every step: the modes' own lists are looked at without copying, and the name problems
    // are sorted to their modes once rather than looked through at every mode.
    QHash<int, QVector<ValidationProblem>> named;
    for (const ValidationProblem& problem : qAsConst(m_names))
        named[problem.locator.steps().value(0, -1)] << problem;
    const auto listed = [](const QHash<const ModeElement*, QVector<ValidationProblem>>& a_lists,
                           const ModeElement* a_mode) {
        const auto found = a_lists.constFind(a_mode);
        return found == a_lists.cend() ? nullptr : &found.value();
    };
    const QVector<ModeElement*> modes = m_camera->modes();
    const bool anyUnknown = m_unknown.size() > (m_unknown.contains(nullptr) ? 1 : 0);
    for (int index = 0; index < modes.size(); ++index) {
        const ModeElement* mode = modes.at(index);
        if (!named.isEmpty())
            m_problems += named.value(index);
        const QVector<ValidationProblem>* checked = m_modes.isEmpty() ? nullptr : listed(m_modes, mode);
        const QVector<ValidationProblem>* unknown = anyUnknown ? listed(m_unknown, mode) : nullptr;
        if (!checked && (!unknown || unknown->isEmpty()))
            continue;
        QVector<ValidationProblem> own = checked ? *checked : QVector<ValidationProblem>();
        if (unknown)
            own += *unknown;
        // Problems found before modes moved, came or went, or before a rename, follow their mode: the
        // way to their element starts again from where the mode stands now.
        const ElementLocator modeWay = ElementLocator::locate(m_camera, m_camera).child(index);
        for (ValidationProblem& problem : own) {
            problem.mode = mode->name();
            const QVector<int> steps = problem.locator.steps();
            if (!problem.locator.isValid() || steps.isEmpty())
                continue;
            ElementLocator way = modeWay;
            for (int step = 1; step < steps.size(); ++step)
                way = way.child(steps.at(step));
            problem.locator = way;
        }
        m_problems += CameraValidator::byLine(own);
    }
    emit changed();
}

} // namespace Orvex
