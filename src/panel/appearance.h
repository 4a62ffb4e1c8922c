#pragma once

#include <QColor>
#include <QObject>

namespace quillon {

// The colours of the panel, light or dark after the desktop's palette. Text styles are the
// palette's text colour at three strengths; the status colours are tuned for each appearance so
// that they read well on the panel's background.
class Appearance : public QObject {
    Q_OBJECT
    Q_PROPERTY(bool dark READ dark NOTIFY changed)
    Q_PROPERTY(QColor background READ background NOTIFY changed)
    Q_PROPERTY(QColor controlBackground READ controlBackground NOTIFY changed)
    Q_PROPERTY(QColor primary READ primary NOTIFY changed)
    Q_PROPERTY(QColor secondary READ secondary NOTIFY changed)
    Q_PROPERTY(QColor tertiary READ tertiary NOTIFY changed)
    Q_PROPERTY(QColor accent READ accent NOTIFY changed)
    Q_PROPERTY(QColor accentText READ accentText NOTIFY changed)
    Q_PROPERTY(QColor red READ red NOTIFY changed)
    Q_PROPERTY(QColor orange READ orange NOTIFY changed)
    Q_PROPERTY(QColor yellow READ yellow NOTIFY changed)
    Q_PROPERTY(QColor green READ green NOTIFY changed)

public:
    explicit Appearance(QObject* parent = nullptr);

    bool dark() const;
    QColor background() const;
    QColor controlBackground() const;
    QColor primary() const;
    QColor secondary() const;
    QColor tertiary() const;
    QColor accent() const;
    QColor accentText() const;
    QColor red() const;
    QColor orange() const;
    QColor yellow() const;
    QColor green() const;

signals:
    // The desktop's palette changed (for instance from light to dark).
    void changed();

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
};

} // namespace quillon
