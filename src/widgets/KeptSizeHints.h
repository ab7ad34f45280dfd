#pragma once

#include <QSize>
#include <QString>

#include <functional>
#include <utility>

class QEvent;
class QWidget;

namespace Orvex {

// The size hints of a widget whose size depends only on its text, font, style and a set-up of its own,
// measured once for each of those and shared by every widget alike: a page's feature names are the same
// in every mode, and measuring a text shapes it. Held per widget, as a widget holds its own hints, until
// its text or set-up changes or it follows a change of font or style.
class KeptSizeHints
{
public:
    using Hints = std::pair<QSize, QSize>;

    // The hints of a_widget showing a_text; a_measure measures them the first time they are met. a_setup
    // tells apart kinds of widget and the set-ups their hints depend on beyond text, font and style.
    Hints of(const QWidget& a_widget, const QString& a_text, int a_setup,
             const std::function<Hints()>& a_measure);
    // Forgets the held hints when a_event changes the widget's font or style.
    void follow(const QEvent* a_event);

private:
    QString m_text;
    int m_setup = 0;
    Hints m_hints;
    bool m_valid = false;
};

} // namespace Orvex
