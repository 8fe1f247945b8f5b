#include "measure/io/visa/visaresource.h"

#include <QTest>

using zelt::measure::io::visa::VisaResource;
using Kind = VisaResource::Kind;

Q_DECLARE_METATYPE(VisaResource::Kind)

namespace {

// The fields that the kind uses, in one line, so that a table row can state them all.
QString fields(VisaResource const& r)
{
    switch (r.kind) {
    case Kind::TcpipSocket:
        return QStringLiteral("%1 port %2").arg(r.host).arg(r.port);
    case Kind::TcpipInstr:
        return QStringLiteral("%1 device %2").arg(r.host, r.lanDevice);
    case Kind::Asrl:
        return QStringLiteral("port %1").arg(r.serialPort);
    case Kind::Usb:
        return QStringLiteral("%1:%2 serial %3 interface %4")
            .arg(r.vendorId, 4, 16, QChar(u'0'))
            .arg(r.productId, 4, 16, QChar(u'0'))
            .arg(r.serialNumber)
            .arg(r.usbInterface);
    case Kind::Gpib:
        return QStringLiteral("address %1").arg(r.gpibAddress);
    case Kind::Invalid:
        break;
    }
    return QString();
}

} // namespace

class TestVisaResource : public QObject
{
    Q_OBJECT

private slots:
    void good_data();
    void good();
    void bad_data();
    void bad();
};

void TestVisaResource::good_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<Kind>("kind");
    QTest::addColumn<int>("board");
    QTest::addColumn<QString>("fields");
    QTest::addColumn<QString>("canonical");

    QTest::newRow("socket") << "TCPIP0::192.168.1.5::5025::SOCKET" << Kind::TcpipSocket << 0
                            << "192.168.1.5 port 5025"
                            << "TCPIP0::192.168.1.5::5025::SOCKET";
    QTest::newRow("socket without board, lower case")
        << "tcpip::localhost::5025::socket" << Kind::TcpipSocket << 0 << "localhost port 5025"
        << "TCPIP0::localhost::5025::SOCKET";
    QTest::newRow("socket board 3, mixed case, blanks")
        << "  TcpIp3::Bench-PSU.lab.local::1::Socket \n"
        << Kind::TcpipSocket << 3 << "Bench-PSU.lab.local port 1"
        << "TCPIP3::Bench-PSU.lab.local::1::SOCKET";
    QTest::newRow("socket highest port")
        << "TCPIP::10.0.0.1::65535::SOCKET" << Kind::TcpipSocket << 0 << "10.0.0.1 port 65535"
        << "TCPIP0::10.0.0.1::65535::SOCKET";
    QTest::newRow("socket IPv6") << "TCPIP0::[fe80::1]::5025::SOCKET" << Kind::TcpipSocket << 0
                                 << "fe80::1 port 5025"
                                 << "TCPIP0::[fe80::1]::5025::SOCKET";
    QTest::newRow("socket IPv6 loopback")
        << "TCPIP::[::1]::5025::SOCKET" << Kind::TcpipSocket << 0 << "::1 port 5025"
        << "TCPIP0::[::1]::5025::SOCKET";
    QTest::newRow("instr") << "TCPIP0::192.168.1.5::inst0::INSTR" << Kind::TcpipInstr << 0
                           << "192.168.1.5 device inst0"
                           << "TCPIP0::192.168.1.5::inst0::INSTR";
    QTest::newRow("instr host only") << "TCPIP::psu.local" << Kind::TcpipInstr << 0
                                     << "psu.local device inst0"
                                     << "TCPIP0::psu.local::inst0::INSTR";
    QTest::newRow("instr host and suffix")
        << "TCPIP1::psu::INSTR" << Kind::TcpipInstr << 1 << "psu device inst0"
        << "TCPIP1::psu::inst0::INSTR";
    QTest::newRow("instr device without suffix")
        << "TCPIP::psu::hislip0" << Kind::TcpipInstr << 0 << "psu device hislip0"
        << "TCPIP0::psu::hislip0::INSTR";
    QTest::newRow("instr IPv6") << "TCPIP::[2001:db8::5]::INSTR" << Kind::TcpipInstr << 0
                                << "2001:db8::5 device inst0"
                                << "TCPIP0::[2001:db8::5]::inst0::INSTR";
    QTest::newRow("serial device") << "ASRL/dev/ttyUSB0::INSTR" << Kind::Asrl << 0 << "port /dev/ttyUSB0"
                                   << "ASRL/dev/ttyUSB0::INSTR";
    QTest::newRow("serial device path keeps case") << "asrl/dev/serial/by-id/usb-FTDI_A1::instr" << Kind::Asrl
                                                   << 0 << "port /dev/serial/by-id/usb-FTDI_A1"
                                                   << "ASRL/dev/serial/by-id/usb-FTDI_A1::INSTR";
    QTest::newRow("serial number") << "ASRL3::INSTR" << Kind::Asrl << 3 << "port 3"
                                   << "ASRL3::INSTR";
    QTest::newRow("serial number without suffix") << "asrl12" << Kind::Asrl << 12 << "port 12"
                                                  << "ASRL12::INSTR";
    QTest::newRow("usb hex ids") << "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR" << Kind::Usb << 0
                                 << "1ab1:04ce serial DS1ZA1234 interface 0"
                                 << "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR";
    QTest::newRow("usb decimal ids, no interface, no suffix")
        << "usb1::6833::1230::SN42" << Kind::Usb << 1 << "1ab1:04ce serial SN42 interface -1"
        << "USB1::0x1AB1::0x04CE::SN42::INSTR";
    QTest::newRow("usb lower-case hex")
        << "USB::0x0aad::0xff::x::INSTR" << Kind::Usb << 0 << "0aad:00ff serial x interface -1"
        << "USB0::0x0AAD::0x00FF::x::INSTR";
    QTest::newRow("gpib") << "GPIB0::5::INSTR" << Kind::Gpib << 0 << "address 5"
                          << "GPIB0::5::INSTR";
    QTest::newRow("gpib board, no suffix") << "gpib2::30" << Kind::Gpib << 2 << "address 30"
                                           << "GPIB2::30::INSTR";
}

void TestVisaResource::good()
{
    QFETCH(QString, text);
    QFETCH(Kind, kind);
    QFETCH(int, board);
    QFETCH(QString, fields);
    QFETCH(QString, canonical);

    VisaResource const r = VisaResource::parse(text);
    QVERIFY2(r.isValid(), qPrintable(r.error));
    QCOMPARE(r.kind, kind);
    QVERIFY(r.error.isEmpty());
    QCOMPARE(r.board, board);
    QCOMPARE(::fields(r), fields);
    QCOMPARE(r.canonical(), canonical);

    // The canonical text means the same resource.
    VisaResource const again = VisaResource::parse(r.canonical());
    QCOMPARE(again.kind, kind);
    QCOMPARE(::fields(again), fields);
    QCOMPARE(again.canonical(), canonical);
}

void TestVisaResource::bad_data()
{
    QTest::addColumn<QString>("text");
    QTest::addColumn<QString>("error");

    QTest::newRow("empty") << ""
                           << "empty resource string";
    QTest::newRow("blanks") << "   "
                            << "empty resource string";
    QTest::newRow("unknown type") << "FOO::bar::INSTR"
                                  << "unknown resource type 'FOO'";
    QTest::newRow("type with letters after it") << "TCPIPX::host::INSTR"
                                                << "unknown resource type 'TCPIPX'";
    QTest::newRow("GPIB-VXI") << "GPIB-VXI0::5::INSTR"
                              << "unknown resource type 'GPIB-VXI0'";
    QTest::newRow("board too large") << "TCPIP123456::host::INSTR"
                                     << "invalid board number '123456'";
    QTest::newRow("starts with separator") << "::host::INSTR"
                                           << "missing resource type";
    QTest::newRow("socket without port") << "TCPIP0::host::SOCKET"
                                         << "missing port";
    QTest::newRow("socket without host") << "TCPIP0::SOCKET"
                                         << "missing host";
    QTest::newRow("port 0") << "TCPIP0::host::0::SOCKET"
                            << "invalid port '0'";
    QTest::newRow("port too large") << "TCPIP0::host::65536::SOCKET"
                                    << "invalid port '65536'";
    QTest::newRow("port not a number") << "TCPIP0::host::http::SOCKET"
                                       << "invalid port 'http'";
    QTest::newRow("negative port") << "TCPIP0::host::-1::SOCKET"
                                   << "invalid port '-1'";
    QTest::newRow("port without suffix") << "TCPIP0::host::5025"
                                         << "needs the suffix ::SOCKET";
    QTest::newRow("extra field") << "TCPIP0::host::5025::extra::SOCKET"
                                 << "unexpected field 'extra'";
    QTest::newRow("empty field") << "TCPIP0::::5025::SOCKET"
                                 << "empty field after 'TCPIP0'";
    QTest::newRow("trailing separator") << "TCPIP0::host::"
                                        << "empty field after 'host'";
    QTest::newRow("bad IPv4") << "TCPIP0::192.168.1.300::5025::SOCKET"
                              << "invalid IPv4 address '192.168.1.300'";
    QTest::newRow("short IPv4") << "TCPIP0::10.1::5025::SOCKET"
                                << "invalid IPv4 address '10.1'";
    QTest::newRow("bad IPv6") << "TCPIP0::[fe80::zz]::5025::SOCKET"
                              << "invalid IPv6 address '[fe80::zz]'";
    QTest::newRow("open bracket") << "TCPIP0::[fe80::1::5025::SOCKET"
                                  << "invalid IPv6 address";
    QTest::newRow("IPv4 in brackets") << "TCPIP0::[10.0.0.1]::5025::SOCKET"
                                      << "invalid IPv6 address";
    QTest::newRow("single colon") << "TCPIP0::host:5025::SOCKET"
                                  << "invalid host name 'host:5025'";
    QTest::newRow("blank in host") << "TCPIP0::my host::INSTR"
                                   << "invalid host name 'my host'";
    QTest::newRow("socket class on serial") << "ASRL3::SOCKET"
                                            << "unsupported resource class 'SOCKET'";
    QTest::newRow("raw class") << "USB0::0x1AB1::0x04CE::SN::RAW"
                               << "unsupported resource class 'RAW'";
    QTest::newRow("serial without port") << "ASRL::INSTR"
                                         << "missing serial port";
    QTest::newRow("serial extra field") << "ASRL1::2::INSTR"
                                        << "unexpected field '2'";
    QTest::newRow("usb without ids") << "USB0::INSTR"
                                     << "missing USB vendor id";
    QTest::newRow("usb without product") << "USB0::0x1AB1::INSTR"
                                         << "missing USB product id";
    QTest::newRow("usb without serial") << "USB0::0x1AB1::0x04CE::INSTR"
                                        << "missing USB serial number";
    QTest::newRow("usb vendor too large") << "USB0::0x12345::0x04CE::SN::INSTR"
                                          << "invalid USB vendor id '0x12345'";
    QTest::newRow("usb vendor not hex") << "USB0::0xG1::0x04CE::SN::INSTR"
                                        << "invalid USB vendor id '0xG1'";
    QTest::newRow("usb product decimal too large") << "USB0::1::65536::SN::INSTR"
                                                   << "invalid USB product id '65536'";
    QTest::newRow("usb interface") << "USB0::1::2::SN::x::INSTR"
                                   << "invalid USB interface number 'x'";
    QTest::newRow("usb extra field") << "USB0::1::2::SN::0::9::INSTR"
                                     << "unexpected field '9'";
    QTest::newRow("gpib without address") << "GPIB0::INSTR"
                                          << "missing GPIB address";
    QTest::newRow("gpib address too large") << "GPIB0::31::INSTR"
                                            << "invalid GPIB address '31'";
    QTest::newRow("gpib secondary address") << "GPIB0::5::96::INSTR"
                                            << "unexpected field '96'";
}

void TestVisaResource::bad()
{
    QFETCH(QString, text);
    QFETCH(QString, error);

    VisaResource const r = VisaResource::parse(text);
    QCOMPARE(r.kind, Kind::Invalid);
    QVERIFY(!r.isValid());
    QVERIFY2(r.error.contains(error), qPrintable(QStringLiteral("error was: '%1'").arg(r.error)));
    QVERIFY(r.canonical().isEmpty());
}

QTEST_GUILESS_MAIN(TestVisaResource)
#include "tst_visaresource.moc"
