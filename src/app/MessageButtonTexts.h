#pragma once

#include <QMap>
#include <QMessageBox>
#include <QObject>
#include <QString>

namespace Orvex {

// Gives the buttons of the next message box with a given title texts of their own while this lives, for
// a question whose answers the standard button names would not tell apart ("Reload", "Save As...").
// Escape gives the box's default answer. The box is still asked through the dialog seam, which
// answers with the standard buttons.
class MessageButtonTexts : public QObject
{
public:
    MessageButtonTexts(const QString& a_title, const QMap<QMessageBox::StandardButton, QString>& a_texts);
    ~MessageButtonTexts() override;

protected:
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private:
    const QString m_title;
    const QMap<QMessageBox::StandardButton, QString> m_texts;
};

} // namespace Orvex
