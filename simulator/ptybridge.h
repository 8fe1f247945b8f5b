#pragma once
// The simulated instrument on a serial line: a pseudo-terminal whose far end a
// client opens as a serial port ("ASRL/dev/pts/N::INSTR"). Bytes are relayed
// between the pseudo-terminal and a connection to the simulator's socket, so the
// instrument behind it is the same for both.

#include <QByteArray>
#include <QHostAddress>
#include <QObject>
#include <QString>

class QSocketNotifier;
class QTcpSocket;

namespace kvrsim {

class PtyBridge : public QObject
{
    Q_OBJECT

public:
    explicit PtyBridge(QObject* parent = nullptr);
    ~PtyBridge() override;

    // Creates the pseudo-terminal and connects to the simulator listening at
    // address and port. False, with errorString(), when either fails.
    bool start(QHostAddress const& address, quint16 port);
    void stop();

    // The terminal a client opens, such as /dev/pts/3; empty when stopped.
    QString path() const { return m_path; }
    // "ASRL<path>::INSTR"
    QString resourceString() const;
    QString errorString() const { return m_errorString; }

private:
    bool connectSocket();
    void readPty();
    void writePty();
    void readSocket();

    int m_master = -1;
    // Held open so that the master never sees a hang-up when a client closes its end.
    int m_slave = -1;
    QString m_path;
    QHostAddress m_address;
    quint16 m_port = 0;
    QSocketNotifier* m_readNotifier = nullptr;
    QSocketNotifier* m_writeNotifier = nullptr;
    QTcpSocket* m_socket = nullptr;
    QByteArray m_toPty;
    QString m_errorString;
};

} // namespace kvrsim
