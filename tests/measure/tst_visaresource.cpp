#include "measure/io/visa/visaresource.h"

#include <QTest>

using zelt::measure::io::visa::VisaResource;
using Kind = VisaResource::Kind;

Q_DECLARE_METATYPE(VisaResource::Kind)

namespace {

// The fields that the kind uses, in one line.
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

private Q_SLOTS:
    void good_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<Kind>("kind");
        QTest::addColumn<int>("board");
        QTest::addColumn<QString>("fields");
        QTest::addColumn<QString>("canonical");
        auto const row = [](char const* name, char const* text, Kind kind, int board, char const* fields,
                            char const* canonical) {
            QTest::newRow(name) << QString(text) << kind << board << QString(fields) << QString(canonical);
        };

        row("socket", "TCPIP0::192.168.1.5::5025::SOCKET", Kind::TcpipSocket, 0, "192.168.1.5 port 5025",
            "TCPIP0::192.168.1.5::5025::SOCKET");
        row("socket without board, lower case", "tcpip::localhost::5025::socket", Kind::TcpipSocket, 0,
            "localhost port 5025", "TCPIP0::localhost::5025::SOCKET");
        row("board 3, mixed case, blanks", "  TcpIp3::Bench-PSU.lab.local::1::Socket \n", Kind::TcpipSocket,
            3, "Bench-PSU.lab.local port 1", "TCPIP3::Bench-PSU.lab.local::1::SOCKET");
        row("socket IPv6", "TCPIP0::[fe80::1]::5025::SOCKET", Kind::TcpipSocket, 0, "fe80::1 port 5025",
            "TCPIP0::[fe80::1]::5025::SOCKET");
        row("instr", "TCPIP0::192.168.1.5::inst0::INSTR", Kind::TcpipInstr, 0, "192.168.1.5 device inst0",
            "TCPIP0::192.168.1.5::inst0::INSTR");
        row("instr host only", "TCPIP::psu.local", Kind::TcpipInstr, 0, "psu.local device inst0",
            "TCPIP0::psu.local::inst0::INSTR");
        row("instr device without suffix", "TCPIP::psu::hislip0", Kind::TcpipInstr, 0, "psu device hislip0",
            "TCPIP0::psu::hislip0::INSTR");
        row("serial device path keeps case", "asrl/dev/serial/by-id/usb-FTDI_A1::instr", Kind::Asrl, 0,
            "port /dev/serial/by-id/usb-FTDI_A1", "ASRL/dev/serial/by-id/usb-FTDI_A1::INSTR");
        row("serial number without suffix", "asrl12", Kind::Asrl, 12, "port 12", "ASRL12::INSTR");
        row("usb hex ids", "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR", Kind::Usb, 0,
            "1ab1:04ce serial DS1ZA1234 interface 0", "USB0::0x1AB1::0x04CE::DS1ZA1234::0::INSTR");
        row("usb decimal ids, no interface, no suffix", "usb1::6833::1230::SN42", Kind::Usb, 1,
            "1ab1:04ce serial SN42 interface -1", "USB1::0x1AB1::0x04CE::SN42::INSTR");
        row("usb lower-case short hex", "USB::0x0aad::0xff::x::INSTR", Kind::Usb, 0,
            "0aad:00ff serial x interface -1", "USB0::0x0AAD::0x00FF::x::INSTR");
        row("gpib board, no suffix", "gpib2::30", Kind::Gpib, 2, "address 30", "GPIB2::30::INSTR");
    }

    void good()
    {
        QFETCH(QString, text);
        QFETCH(Kind, kind);
        QFETCH(int, board);
        QFETCH(QString, fields);
        QFETCH(QString, canonical);

        VisaResource const r = VisaResource::parse(text);
        QVERIFY2(r.isValid(), qPrintable(r.error));
        QVERIFY(r.error.isEmpty());
        QCOMPARE(r.kind, kind);
        QCOMPARE(r.board, board);
        QCOMPARE(::fields(r), fields);
        QCOMPARE(r.canonical(), canonical);

        // The canonical text means the same resource.
        VisaResource const again = VisaResource::parse(r.canonical());
        QCOMPARE(::fields(again), fields);
        QCOMPARE(again.canonical(), canonical);
    }

    void bad_data()
    {
        QTest::addColumn<QString>("text");
        QTest::addColumn<QString>("error");
        auto const row = [](char const* text, char const* error) {
            QTest::addRow("'%s'", text) << QString(text) << QString(error);
        };

        row("   ", "empty resource string");
        row("FOO::bar::INSTR", "unknown resource type 'FOO'");
        row("TCPIPX::host::INSTR", "unknown resource type 'TCPIPX'");
        row("TCPIP123456::host::INSTR", "invalid board number '123456'");
        row("::host::INSTR", "missing resource type");
        row("TCPIP0::host::SOCKET", "missing port");
        row("TCPIP0::SOCKET", "missing host");
        row("TCPIP0::host::65536::SOCKET", "invalid port '65536'");
        row("TCPIP0::host::http::SOCKET", "invalid port 'http'");
        row("TCPIP0::host::5025", "needs the suffix ::SOCKET");
        row("TCPIP0::host::5025::extra::SOCKET", "unexpected field 'extra'");
        row("TCPIP0::::5025::SOCKET", "empty field after 'TCPIP0'");
        row("TCPIP0::192.168.1.300::5025::SOCKET", "invalid IPv4 address '192.168.1.300'");
        row("TCPIP0::10.1::5025::SOCKET", "invalid IPv4 address '10.1'");
        row("TCPIP0::[fe80::zz]::5025::SOCKET", "invalid IPv6 address '[fe80::zz]'");
        row("TCPIP0::[fe80::1::5025::SOCKET", "invalid IPv6 address");
        row("TCPIP0::[10.0.0.1]::5025::SOCKET", "invalid IPv6 address");
        row("TCPIP0::host:5025::SOCKET", "invalid host name 'host:5025'");
        row("ASRL3::SOCKET", "unsupported resource class 'SOCKET'");
        row("ASRL::INSTR", "missing serial port");
        row("USB0::INSTR", "missing USB vendor id");
        row("USB0::0x1AB1::0x04CE::INSTR", "missing USB serial number");
        row("USB0::0x12345::0x04CE::SN::INSTR", "invalid USB vendor id '0x12345'");
        row("USB0::1::2::SN::x::INSTR", "invalid USB interface number 'x'");
        row("GPIB0::INSTR", "missing GPIB address");
        row("GPIB0::31::INSTR", "invalid GPIB address '31'");
    }

    void bad()
    {
        QFETCH(QString, text);
        QFETCH(QString, error);

        VisaResource const r = VisaResource::parse(text);
        QCOMPARE(r.kind, Kind::Invalid);
        QVERIFY(!r.isValid());
        QVERIFY2(r.error.contains(error), qPrintable(r.error));
        QVERIFY(r.canonical().isEmpty());
    }
};

QTEST_GUILESS_MAIN(TestVisaResource)
#include "tst_visaresource.moc"
