#pragma once

#include <QObject>
#include <QPalette>
#include <QPointer>
#include <QString>

class QWidget;

namespace Orvex {

// What keeps an editing field from changing a value behind the user's back: the mouse wheel over a field
// that does not have the focus scrolls the page instead, keystrokes the field refuses show a hint
// instead of vanishing, and text that is not taken can be marked so (red, with the reason in the tool
// tip). Lives as a child of its field.
class FieldGuard : public QObject
{
    Q_OBJECT

public:
    // The field's guard, made on first use; a field that already has one keeps it.
    static FieldGuard* install(QWidget* a_field);
    // Null for a field without a guard.
    static FieldGuard* of(const QWidget* a_field);

    // What a refused keystroke shows, after the text of the key itself.
    QString refusalHint() const { return m_refusalHint; }
    void setRefusalHint(const QString& a_hint) { m_refusalHint = a_hint; }

    // Marks the field's text as not taken, a_reason leading its tool tip; an empty reason takes the
    // mark away and gives the field back its own look and tool tip.
    void setMark(const QString& a_reason);
    bool isMarked() const { return !m_mark.isEmpty(); }
    QString mark() const { return m_mark; }

    // Shows a_text beside the field for a moment, as a tool tip does.
    void showHint(const QString& a_text) const;

    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private:
    explicit FieldGuard(QWidget* a_field);
    void inputRejected();

    QPointer<QWidget> m_field;
    QString m_refusalHint;
    QString m_mark;
    QString m_ownToolTip;
    QPalette m_ownPalette;
};

} // namespace Orvex
