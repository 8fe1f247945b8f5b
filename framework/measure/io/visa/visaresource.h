#pragma once
// Parser of VISA resource strings, e.g. "TCPIP0::192.168.1.5::5025::SOCKET",
// "TCPIP::host::inst0::INSTR", "ASRL/dev/ttyUSB0::INSTR", "ASRL3::INSTR",
// "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR". Keywords are case-insensitive.

#include <QString>

namespace zelt::measure::io::visa {

struct VisaResource
{
    enum class Kind { Invalid, TcpipSocket, TcpipInstr, Asrl, Usb, Gpib };

    static VisaResource parse(QString const& text);
    // The canonical text: upper-case keywords, board number, explicit suffix.
    QString canonical() const;
    bool isValid() const { return kind != Kind::Invalid; }

    Kind kind = Kind::Invalid;
    int board = 0;
    QString host; // TCPIP: host name or address
    quint16 port = 0; // TCPIP SOCKET
    QString lanDevice; // TCPIP INSTR: "inst0" unless given
    QString serialPort; // ASRL: a device path or "COMn"/port number as given
    quint16 vendorId = 0; // USB
    quint16 productId = 0; // USB
    QString serialNumber; // USB
    int usbInterface = -1; // USB: -1 when not given
    int gpibAddress = -1; // GPIB primary address
    QString error; // why the text is invalid
};

} // namespace zelt::measure::io::visa
