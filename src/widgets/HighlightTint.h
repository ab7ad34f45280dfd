#pragma once

#include <QPointer>
#include <QWidget>

class QPropertyAnimation;

namespace Orvex {

// A red tint over the widgets of one container that fades out, painted on top of them. A graphics
// effect would look the same but draws the container into a pixmap first, and that makes Qt deliver
// the pending resizes of every hidden widget in the window and lay out pages nobody looks at: the first
// highlight after an undo cost several times the undo itself.
//
// Red screened over the widgets below at the tint's strength gives, on the greys, whites and blacks a
// form is made of, exactly what a colorize effect of that strength gives: dark text turns red, white
// stays white.
class HighlightTint : public QWidget
{
    Q_OBJECT
    Q_PROPERTY(qreal strength READ strength WRITE setStrength)

public:
    // The tint of a_container, made on first use; it lives and dies with the container.
    static HighlightTint* of(QWidget* a_container);

    qreal strength() const { return m_strength; }
    // 0 hides the tint, so that a faded one costs nothing while the user works in its container.
    void setStrength(qreal a_strength);

    // Fades from strong to nothing twice; a flash already running starts over.
    void flash();
    bool isFlashing() const;

signals:
    void faded();

protected:
    void paintEvent(QPaintEvent* a_event) override;
    bool eventFilter(QObject* a_watched, QEvent* a_event) override;

private:
    explicit HighlightTint(QWidget* a_container);
    void cover();

    qreal m_strength = 0.0;
    QPropertyAnimation* m_fade = nullptr;
};

} // namespace Orvex
