#pragma once

#include <QObject>

namespace quillon {

// Turns SIGTERM and SIGINT into a clean quit of the event loop: the handler only writes a byte to
// a pipe, and the event loop reads it and asks the application to quit.
class TerminationSignals : public QObject {
    Q_OBJECT

public:
    explicit TerminationSignals(QObject* parent = nullptr);
    ~TerminationSignals() override;

signals:
    void received();
};

} // namespace quillon
