#pragma once

#include <QObject>
#include <QString>
#include <QStringList>

namespace Orvex {

class WindowElement;
class ElementBaseDelayQueue;

// One node of the editor's element tree. The Qt parent is the element above, so the element tree is
// the Qt object tree. Every element carries a process-wide unique id under which it can be found while
// it lives; document tree nodes refer to their elements by that id.
class ElementBase : public QObject
{
    Q_OBJECT
    Q_PROPERTY(quint64 id READ id WRITE setId)
    Q_PROPERTY(QString name READ name WRITE setName)
    Q_PROPERTY(QString annotation READ annotation WRITE setAnnotation)
    Q_PROPERTY(QStringList elementPath READ elementPath WRITE setElementPath)
    Q_PROPERTY(bool isActive READ isActive)

    friend class ElementBaseDelayQueue;

public:
    // The parent is usually the element above; the root element of a document has the main window
    // (or nothing) as its parent instead.
    explicit ElementBase(QObject* a_parent = nullptr);
    // Takes name, annotation and element path from a_source (when given) but never its id.
    ElementBase(const ElementBase* a_source, QObject* a_parent);
    ~ElementBase() override;

    // The living element registered under a_id, or null for 0 and for ids whose element is gone.
    static ElementBase* findById(quint64 a_id);

    quint64 id() const { return m_id; }
    // Re-keys the registry; 0 leaves the element unregistered. When another living element holds the
    // same id, the registry points at this one from now on.
    void setId(quint64 a_id);

    // Name, annotation and path by reference: loading, the check and saving read them for every
    // feature of every mode, where copies cost reference counting and nothing else.
    const QString& name() const { return m_name; }
    void setName(const QString& a_name);
    // Grows whenever an element that had a name gets another: a view that shows the names of
    // thousands of modes compares it with the one it saw last instead of comparing every name after
    // every step.
    static quint64 nameGeneration();

    const QString& annotation() const { return m_annotation; }
    void setAnnotation(const QString& a_annotation);

    const QStringList& elementPath() const { return m_elementPath; }
    void setElementPath(const QStringList& a_elementPath);

    // This element's own raise state, whatever its ancestors are.
    bool isRaised() const { return m_raised; }
    // Raised, and every ancestor element up the Qt parent chain raised as well.
    bool isActive() const;

public slots:
    void raise();
    void lower();
    // Deferred to the event loop, so that a lower and a raise caused by one event both get queued
    // before either acts.
    void raiseLater();
    void lowerLater();

private slots:
    void p_raise();
    void p_lower();

protected:
    virtual void onRaise() = 0;
    virtual void onLower() = 0;

public:
    virtual const WindowElement* windowElement() const = 0;
    virtual WindowElement* windowElement() = 0;

private:
    quint64 m_id = 0;
    QString m_name;
    QString m_annotation;
    QStringList m_elementPath;
    bool m_raised = false;
};

} // namespace Orvex
