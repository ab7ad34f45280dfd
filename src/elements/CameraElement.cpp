#include "elements/CameraElement.h"

#include "elements/CameraGlobalCategory.h"
#include "elements/ModeBuilder.h"
#include "elements/ModeElement.h"
#include "elements/ValueFeatureElementBase.h"
#include "elements/WindowElement.h"

#include <QRegularExpression>
#include <QScopedValueRollback>

#include <vector>

namespace Orvex {

namespace {

const QRegularExpression s_markupCharacters(QStringLiteral("[@<>&'\"]+"));
const QRegularExpression s_whiteSpace(QStringLiteral("\\s+"), QRegularExpression::UseUnicodePropertiesOption);
const QRegularExpression s_numberedName(QStringLiteral("^.*_[0-9]+$"));

// Whether a_name is a_base, optionally followed by "_" and a number, as the pattern "^" + the escaped
// base + "(_[0-9]+)?$" would tell, but without compiling a pattern for every mode added: files with
// many modes add them all at load time. The number is 0 for the bare base.
bool numberAfterBase(const QString& a_name, const QString& a_base, qulonglong* a_number)
{
    if (!a_name.startsWith(a_base))
        return false;
    const QStringRef rest = a_name.midRef(a_base.size());
    if (rest.isEmpty()) {
        *a_number = 0;
        return true;
    }
    if (rest.size() < 2 || rest.at(0) != QLatin1Char('_'))
        return false;
    const QStringRef digits = rest.mid(1);
    for (const QChar digit : digits) {
        if (digit < QLatin1Char('0') || digit > QLatin1Char('9'))
            return false;
    }
    bool isNumber = false;
    *a_number = digits.toULongLong(&isNumber);
    return isNumber;
}

const QString s_defaultModeName = QStringLiteral("Default");
const QString s_standardFeatureName = QStringLiteral("standard");

} // namespace

CameraElement::CameraElement(WindowElement* a_window)
    : ElementBase(a_window), m_window(a_window), m_mainWindow(a_window ? a_window->mainWindow() : nullptr)
{
    m_globalCategory = new CameraGlobalCategory(this);
    if (m_mainWindow) {
        connect(this, SIGNAL(globalModeSelected()), m_mainWindow, SLOT(setCameraMode()));
        connect(this, SIGNAL(modeSelected(int)), m_mainWindow, SLOT(setMode(int)));
    }
}

CameraElement::~CameraElement() = default;

QObject* CameraElement::mainWindow() const
{
    return m_mainWindow;
}

CameraGlobalCategory* CameraElement::globalCategory() const
{
    return m_globalCategory;
}

ModeElement* CameraElement::modeTemplate() const
{
    return m_modeTemplate;
}

void CameraElement::setModeTemplate(ModeElement* a_template)
{
    if (a_template && a_template->parent() != this)
        a_template->setParent(this);
    m_modeTemplate = a_template;
}

ModeBuilder* CameraElement::modeBuilder() const
{
    return m_modeBuilder.get();
}

void CameraElement::setModeBuilder(std::unique_ptr<ModeBuilder> a_builder)
{
    m_modeBuilder = std::move(a_builder);
}

int CameraElement::standard() const
{
    const auto* feature =
        qobject_cast<const ValueFeatureElementBase*>(m_globalCategory->feature(s_standardFeatureName));
    if (!feature)
        return StandardUnknown;
    const QString text = feature->value().toString().trimmed();
    if (text.compare(QLatin1String("CoaXPress"), Qt::CaseInsensitive) == 0)
        return StandardCoaXPress;
    if (text.compare(QLatin1String("CameraLink"), Qt::CaseInsensitive) == 0)
        return StandardCameraLink;
    return StandardUnknown;
}

QVector<ModeElement*> CameraElement::modes() const
{
    if (!m_livingModesKnown) {
        m_livingModes.clear();
        m_livingModes.reserve(m_modes.size());
        for (const QPointer<ModeElement>& mode : m_modes) {
            if (mode)
                m_livingModes.append(mode);
        }
        m_livingModesKnown = true;
    }
    return m_livingModes;
}

void CameraElement::forgetLivingModes()
{
    m_livingModesKnown = false;
}

ModeElement* CameraElement::mode(int a_position) const
{
    return modes().value(a_position);
}

int CameraElement::indexOfMode(const ModeElement* a_mode) const
{
    return a_mode ? modes().indexOf(const_cast<ModeElement*>(a_mode)) : -1;
}

bool CameraElement::holdsMode(const ModeElement* a_mode) const
{
    return a_mode && m_placedModes.contains(a_mode);
}

ModeElement* CameraElement::modeByName(const QString& a_name) const
{
    for (ModeElement* mode : modes()) {
        if (mode->name() == a_name)
            return mode;
    }
    return nullptr;
}

ModeElement* CameraElement::currentMode() const
{
    return m_currentMode;
}

int CameraElement::insertMode(int a_position, ModeElement* a_mode)
{
    return placeMode(a_position, a_mode, true);
}

int CameraElement::appendUniquelyNamedMode(ModeElement* a_mode)
{
    return placeMode(-1, a_mode, false);
}

int CameraElement::placeMode(int a_position, ModeElement* a_mode, bool a_makeNameUnique)
{
    // A destroyed mode has left the list already, through forgetDestroyedMode: going over the list here
    // would make loading a file of many modes quadratic.
    if (!a_mode || a_mode->camera() != this || m_placedModes.contains(a_mode))
        return -1;
    if (a_mode->parent() != this)
        a_mode->setParent(this);
    if (a_makeNameUnique)
        a_mode->setName(uniqueModeName(a_mode->name(), a_mode));
    const int position = a_position < 0 || a_position > m_modes.size() ? m_modes.size() : a_position;
    m_modes.insert(position, a_mode);
    m_placedModes.insert(a_mode);
    forgetLivingModes();
    connect(a_mode, &QObject::destroyed, this, &CameraElement::forgetDestroyedMode, Qt::UniqueConnection);
    emit modeInserted(position);
    return position;
}

ModeElement* CameraElement::takeMode(int a_position)
{
    dropDestroyedModes();
    if (a_position < 0 || a_position >= m_modes.size())
        return nullptr;
    ModeElement* mode = m_modes.at(a_position);
    if (mode == m_currentMode) {
        activateMode(nullptr);
        m_currentMode = nullptr;
    }
    mode->lower();
    m_modes.removeAt(a_position);
    m_placedModes.remove(mode);
    forgetLivingModes();
    emit modeRemoved(a_position);
    return mode;
}

bool CameraElement::moveMode(int a_from, int a_to)
{
    dropDestroyedModes();
    if (a_from < 0 || a_from >= m_modes.size() || a_to < 0 || a_to >= m_modes.size())
        return false;
    if (a_from != a_to) {
        m_modes.move(a_from, a_to);
        forgetLivingModes();
        emit modeMoved(a_from, a_to);
    }
    return true;
}

QString CameraElement::uniqueModeName(const QString& a_name, const ModeElement* a_except) const
{
    QString name = a_name;
    name.remove(s_markupCharacters);
    name.remove(s_whiteSpace);
    if (name.isEmpty())
        name = s_defaultModeName;

    QString base = name;
    qulonglong ownNumber = 0;
    if (s_numberedName.match(name).hasMatch()) {
        const int separator = name.lastIndexOf(QLatin1Char('_'));
        bool isNumber = false;
        const qulonglong number = name.midRef(separator + 1).toULongLong(&isNumber);
        // A number too large to count with is just part of the name.
        if (isNumber) {
            base = name.left(separator);
            ownNumber = number;
        }
    }

    // Among n other modes the smallest free number is at most n, so larger numbers need no room.
    std::vector<bool> taken(size_t(m_modes.size()) + 2, false);
    bool ownTaken = false;
    for (const QPointer<ModeElement>& mode : m_modes) {
        qulonglong number = 0;
        if (!mode || mode == a_except || !numberAfterBase(mode->name(), base, &number))
            continue;
        ownTaken = ownTaken || number == ownNumber;
        if (number < taken.size())
            taken[size_t(number)] = true;
    }
    if (!ownTaken)
        return name;

    // Number 0 stands for the bare base, which must not be an empty name.
    size_t number = base.isEmpty() ? 1 : 0;
    while (taken[number])
        ++number;
    return number > 0 ? base + QLatin1Char('_') + QString::number(number) : base;
}

void CameraElement::activateMode(ModeElement* a_mode)
{
    if (m_selecting || (a_mode && !m_placedModes.contains(a_mode)))
        return;
    const QScopedValueRollback<bool> selecting(m_selecting, true);
    if (m_currentMode && m_currentMode != a_mode)
        m_currentMode->lower();
    m_currentMode = a_mode;
    if (!a_mode) {
        m_globalCategory->raise();
        emit globalModeSelected();
        return;
    }
    m_globalCategory->lower();
    a_mode->raise();
    emit modeSelected(indexOfMode(a_mode));
}

const WindowElement* CameraElement::windowElement() const
{
    return m_window;
}

WindowElement* CameraElement::windowElement()
{
    return m_window;
}

void CameraElement::setGlobalMode()
{
    activateMode(nullptr);
}

void CameraElement::selectNextMode()
{
    const QVector<ModeElement*> all = modes();
    if (all.isEmpty())
        return;
    const int current = all.indexOf(m_currentMode.data());
    if (current + 1 >= all.size())
        return;
    activateMode(all.at(current + 1));
    if (m_window)
        m_window->recordCurrentPage();
}

void CameraElement::selectPrevMode()
{
    const QVector<ModeElement*> all = modes();
    const int current = all.indexOf(m_currentMode.data());
    if (current < 0)
        return;
    activateMode(current == 0 ? nullptr : all.at(current - 1));
    if (m_window)
        m_window->recordCurrentPage();
}

void CameraElement::onRaise()
{
    if (m_window)
        m_window->raise();
    for (ModeElement* mode : modes()) {
        if (mode != m_currentMode)
            mode->lower();
    }
    if (m_selecting)
        return;
    const QScopedValueRollback<bool> selecting(m_selecting, true);
    if (m_currentMode) {
        m_globalCategory->lower();
        m_currentMode->raise();
        emit modeSelected(indexOfMode(m_currentMode));
    } else {
        m_globalCategory->raise();
        emit globalModeSelected();
    }
}

void CameraElement::onLower()
{
    for (ModeElement* mode : modes())
        mode->lower();
    m_globalCategory->lower();
}

void CameraElement::forgetDestroyedMode(QObject* a_mode)
{
    // Only the address is used: the mode is half destroyed by now.
    m_placedModes.remove(a_mode);
    dropDestroyedModes();
}

void CameraElement::dropDestroyedModes()
{
    for (int position = m_modes.size() - 1; position >= 0; --position) {
        if (m_modes.at(position).isNull()) {
            m_modes.removeAt(position);
            forgetLivingModes();
            emit modeRemoved(position);
        }
    }
}

} // namespace Orvex
