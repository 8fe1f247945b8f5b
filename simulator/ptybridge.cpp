#include "simulator/ptybridge.h"

#include <QSocketNotifier>
#include <QTcpSocket>

#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <fcntl.h>
#include <termios.h>
#include <unistd.h>
#include <utility>

namespace kvrsim {

namespace {

constexpr int kConnectMs = 2000;

} // namespace

PtyBridge::PtyBridge(QObject* parent)
    : QObject(parent)
{
}

PtyBridge::~PtyBridge()
{
    stop();
}

bool PtyBridge::start(QHostAddress const& address, quint16 port)
{
    stop();
    auto const failWith = [this](char const* what) {
        m_errorString = QStringLiteral("pseudo-terminal: %1: %2")
                            .arg(QLatin1String(what), QString::fromLocal8Bit(std::strerror(errno)));
        stop();
        return false;
    };
    m_master = ::posix_openpt(O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_master < 0)
        return failWith("posix_openpt");
    char name[128] = {};
    if (::grantpt(m_master) != 0 || ::unlockpt(m_master) != 0
        || ::ptsname_r(m_master, name, sizeof name) != 0)
        return failWith("ptsname");
    m_path = QString::fromLocal8Bit(name);
    m_slave = ::open(name, O_RDWR | O_NOCTTY | O_CLOEXEC);
    if (m_slave < 0)
        return failWith("open");
    // A line carries bytes as they are: no echo, no translation of line ends.
    termios raw {};
    if (::tcgetattr(m_slave, &raw) == 0) {
        ::cfmakeraw(&raw);
        ::tcsetattr(m_slave, TCSANOW, &raw);
    }
    ::fcntl(m_master, F_SETFL, ::fcntl(m_master, F_GETFL) | O_NONBLOCK);

    m_address = address;
    m_port = port;
    if (!connectSocket()) {
        stop();
        return false;
    }
    m_readNotifier = new QSocketNotifier(m_master, QSocketNotifier::Read, this);
    connect(m_readNotifier, &QSocketNotifier::activated, this, &PtyBridge::readPty);
    m_writeNotifier = new QSocketNotifier(m_master, QSocketNotifier::Write, this);
    m_writeNotifier->setEnabled(false);
    connect(m_writeNotifier, &QSocketNotifier::activated, this, &PtyBridge::writePty);
    return true;
}

bool PtyBridge::connectSocket()
{
    delete m_socket;
    m_socket = new QTcpSocket(this);
    m_socket->connectToHost(m_address, m_port);
    if (!m_socket->waitForConnected(kConnectMs)) {
        m_errorString
            = QStringLiteral("pseudo-terminal: cannot reach the simulator: %1").arg(m_socket->errorString());
        return false;
    }
    m_socket->setSocketOption(QAbstractSocket::LowDelayOption, 1);
    connect(m_socket, &QTcpSocket::readyRead, this, &PtyBridge::readSocket);
    return true;
}

void PtyBridge::stop()
{
    delete std::exchange(m_readNotifier, nullptr);
    delete std::exchange(m_writeNotifier, nullptr);
    delete std::exchange(m_socket, nullptr);
    if (m_slave >= 0)
        ::close(std::exchange(m_slave, -1));
    if (m_master >= 0)
        ::close(std::exchange(m_master, -1));
    m_path.clear();
    m_toPty.clear();
}

QString PtyBridge::resourceString() const
{
    return QStringLiteral("ASRL%1::INSTR").arg(m_path);
}

void PtyBridge::readPty()
{
    char buffer[4096];
    for (;;) {
        ssize_t const n = ::read(m_master, buffer, sizeof buffer);
        if (n <= 0)
            return;
        // The simulator closed the connection (a fault it was told to inject): a new one for the next line.
        if (m_socket->state() != QAbstractSocket::ConnectedState && !connectSocket())
            return;
        m_socket->write(buffer, n);
    }
}

void PtyBridge::readSocket()
{
    m_toPty.append(m_socket->readAll());
    writePty();
}

void PtyBridge::writePty()
{
    while (!m_toPty.isEmpty()) {
        ssize_t const n = ::write(m_master, m_toPty.constData(), size_t(m_toPty.size()));
        if (n <= 0)
            break;
        m_toPty.remove(0, n);
    }
    // What the terminal cannot take yet goes when it has room.
    m_writeNotifier->setEnabled(!m_toPty.isEmpty());
}

} // namespace kvrsim
