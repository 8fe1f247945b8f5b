#pragma once
// Parser of VISA resource strings, e.g. "TCPIP0::192.168.1.5::5025::SOCKET",
// "TCPIP::host::inst0::INSTR", "ASRL/dev/ttyUSB0::INSTR", "ASRL3::INSTR",
// "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR". Keywords are case-insensitive.

#include "measure/zelt_measure_export.h"

#include <QString>

namespace zelt::measure::io::visa {

struct ZELT_MEASURE_EXPORT VisaResource
{
    enum class Kind { Invalid, TcpipSocket, TcpipInstr, Asrl, Usb, Gpib };

    // Blanks around the text are ignored. Without a class suffix a resource is INSTR,
    // but "TCPIP::host::5025" is refused: a bare number there is a port that lost its
    // "::SOCKET". An invalid text gives Kind::Invalid, with error saying what is wrong.
    static VisaResource parse(QString const& text);
    // The canonical text: upper-case keywords, board number, explicit suffix.
    QString canonical() const;
    bool isValid() const { return kind != Kind::Invalid; }

    Kind kind = Kind::Invalid;
    int board = 0;
    QString host; // TCPIP: host name or address; an IPv6 address without its brackets
    quint16 port = 0; // TCPIP SOCKET
    QString lanDevice; // TCPIP INSTR: "inst0" unless given
    QString serialPort; // ASRL: a device path as given, or the port number (then also board)
    quint16 vendorId = 0; // USB
    quint16 productId = 0; // USB
    QString serialNumber; // USB
    int usbInterface = -1; // USB: -1 when not given
    int gpibAddress = -1; // GPIB primary address
    QString error; // why the text is invalid
};

} // namespace zelt::measure::io::visa
