#include "measure/io/visa/visaresource.h"

#include <QHostAddress>
#include <QList>

#include <utility>

namespace zelt::measure::io::visa {

namespace {

constexpr int kMaxBoard = 9999;

bool allDigits(QStringView s)
{
    if (s.isEmpty())
        return false;
    for (QChar const c : s) {
        if (c < u'0' || c > u'9')
            return false;
    }
    return true;
}

// Decimal digits only, within [minimum, maximum].
bool readNumber(QStringView s, int minimum, int maximum, int& value)
{
    if (!allDigits(s) || s.size() > 9)
        return false;
    value = s.toInt();
    return value >= minimum && value <= maximum;
}

bool readBoard(QStringView s, int& board)
{
    board = 0;
    return s.isEmpty() || readNumber(s, 0, kMaxBoard, board);
}

// USB ids come as "0x1AB1" or in decimal.
bool readUsbId(QStringView s, quint16& id)
{
    bool ok = false;
    uint value = 0;
    if (s.startsWith(u"0x", Qt::CaseInsensitive)) {
        QStringView const hex = s.mid(2);
        if (hex.isEmpty() || hex.size() > 4)
            return false;
        for (QChar const c : hex) {
            if (!(c.isDigit() || (c.toLower() >= u'a' && c.toLower() <= u'f')))
                return false;
        }
        value = hex.toUInt(&ok, 16);
    } else {
        if (!allDigits(s) || s.size() > 5)
            return false;
        value = s.toUInt(&ok, 10);
    }
    if (!ok || value > 0xFFFF)
        return false;
    id = quint16(value);
    return true;
}

bool isIpv4(QStringView s)
{
    int parts = 0;
    for (QStringView part : s.split(u'.')) {
        int octet = 0;
        if (part.size() > 3 || !readNumber(part, 0, 255, octet))
            return false;
        ++parts;
    }
    return parts == 4;
}

bool isHostName(QStringView s)
{
    for (QStringView label : s.split(u'.')) {
        if (label.isEmpty())
            return false;
        for (QChar const c : label) {
            if (!(c.isLetterOrNumber() || c == u'-' || c == u'_'))
                return false;
        }
    }
    return true;
}

// The host of a TCPIP resource: a name, an IPv4 address, or an IPv6 address in
// brackets, which are dropped. Empty with error set when the text is none of these.
QString readHost(QStringView s, QString& error)
{
    if (s.startsWith(u'[')) {
        QStringView const inner = s.endsWith(u']') ? s.mid(1, s.size() - 2) : QStringView();
        QHostAddress const address(inner.toString());
        if (inner.isEmpty() || address.protocol() != QAbstractSocket::IPv6Protocol) {
            error = QStringLiteral("invalid IPv6 address '%1'").arg(s);
            return {};
        }
        return inner.toString();
    }
    bool numeric = true;
    for (QChar const c : s)
        numeric = numeric && (c.isDigit() || c == u'.');
    if (numeric ? !isIpv4(s) : !isHostName(s)) {
        error = (numeric ? QStringLiteral("invalid IPv4 address '%1'")
                         : QStringLiteral("invalid host name '%1'"))
                    .arg(s);
        return {};
    }
    return s.toString();
}

// Splits at "::" outside brackets, so that an IPv6 host such as [fe80::1] stays one field.
QList<QStringView> splitFields(QStringView s)
{
    QList<QStringView> fields;
    qsizetype start = 0;
    int depth = 0;
    for (qsizetype i = 0; i < s.size(); ++i) {
        if (s[i] == u'[') {
            ++depth;
        } else if (s[i] == u']') {
            depth = qMax(0, depth - 1);
        } else if (depth == 0 && s[i] == u':' && i + 1 < s.size() && s[i + 1] == u':') {
            fields.append(s.mid(start, i - start));
            start = i + 2;
            ++i;
        }
    }
    fields.append(s.mid(start));
    return fields;
}

QString hex4(quint16 id)
{
    return QString::number(id, 16).toUpper().rightJustified(4, u'0');
}

bool isKeyword(QStringView field, QStringView keyword)
{
    return field.compare(keyword, Qt::CaseInsensitive) == 0;
}

VisaResource invalid(QString error)
{
    VisaResource resource;
    resource.error = std::move(error);
    return resource;
}

VisaResource parseTcpip(int board, QList<QStringView> const& fields, QStringView resourceClass)
{
    VisaResource r;
    r.board = board;
    if (fields.isEmpty())
        return invalid(QStringLiteral("missing host"));
    if (fields.size() > 2)
        return invalid(QStringLiteral("unexpected field '%1'").arg(fields.at(2)));
    r.host = readHost(fields.at(0), r.error);
    if (r.host.isEmpty())
        return invalid(r.error);

    if (isKeyword(resourceClass, u"SOCKET")) {
        int port = 0;
        if (fields.size() < 2)
            return invalid(QStringLiteral("missing port"));
        if (!readNumber(fields.at(1), 1, 65535, port))
            return invalid(QStringLiteral("invalid port '%1' (1 to 65535)").arg(fields.at(1)));
        r.kind = VisaResource::Kind::TcpipSocket;
        r.port = quint16(port);
        return r;
    }

    r.kind = VisaResource::Kind::TcpipInstr;
    r.lanDevice = QStringLiteral("inst0");
    if (fields.size() == 2) {
        // Without a class, a number here is a port that lost its suffix, not a device name.
        if (resourceClass.isEmpty() && allDigits(fields.at(1)))
            return invalid(QStringLiteral("port '%1' needs the suffix ::SOCKET").arg(fields.at(1)));
        for (QChar const c : fields.at(1)) {
            if (c.isSpace())
                return invalid(QStringLiteral("invalid LAN device name '%1'").arg(fields.at(1)));
        }
        r.lanDevice = fields.at(1).toString();
    }
    return r;
}

VisaResource parseAsrl(QStringView port, QList<QStringView> const& fields)
{
    if (port.isEmpty())
        return invalid(QStringLiteral("missing serial port"));
    if (!fields.isEmpty())
        return invalid(QStringLiteral("unexpected field '%1'").arg(fields.at(0)));
    VisaResource r;
    r.kind = VisaResource::Kind::Asrl;
    if (allDigits(port)) {
        if (!readBoard(port, r.board))
            return invalid(QStringLiteral("invalid serial port number '%1'").arg(port));
        r.serialPort = QString::number(r.board);
    } else {
        for (QChar const c : port) {
            if (c.isSpace())
                return invalid(QStringLiteral("invalid serial device '%1'").arg(port));
        }
        r.serialPort = port.toString();
    }
    return r;
}

VisaResource parseUsb(int board, QList<QStringView> const& fields)
{
    static char const* const kMissing[]
        = {"missing USB vendor id", "missing USB product id", "missing USB serial number"};
    if (fields.size() < 3)
        return invalid(QString::fromLatin1(kMissing[fields.size()]));
    if (fields.size() > 4)
        return invalid(QStringLiteral("unexpected field '%1'").arg(fields.at(4)));
    VisaResource r;
    r.board = board;
    if (!readUsbId(fields.at(0), r.vendorId))
        return invalid(QStringLiteral("invalid USB vendor id '%1'").arg(fields.at(0)));
    if (!readUsbId(fields.at(1), r.productId))
        return invalid(QStringLiteral("invalid USB product id '%1'").arg(fields.at(1)));
    r.serialNumber = fields.at(2).toString();
    if (fields.size() == 4 && !readNumber(fields.at(3), 0, 255, r.usbInterface))
        return invalid(QStringLiteral("invalid USB interface number '%1'").arg(fields.at(3)));
    r.kind = VisaResource::Kind::Usb;
    return r;
}

VisaResource parseGpib(int board, QList<QStringView> const& fields)
{
    if (fields.isEmpty())
        return invalid(QStringLiteral("missing GPIB address"));
    if (fields.size() > 1)
        return invalid(QStringLiteral("unexpected field '%1'").arg(fields.at(1)));
    VisaResource r;
    r.board = board;
    if (!readNumber(fields.at(0), 0, 30, r.gpibAddress))
        return invalid(QStringLiteral("invalid GPIB address '%1' (0 to 30)").arg(fields.at(0)));
    r.kind = VisaResource::Kind::Gpib;
    return r;
}

} // namespace

VisaResource VisaResource::parse(QString const& text)
{
    QStringView const trimmed = QStringView(text).trimmed();
    if (trimmed.isEmpty())
        return invalid(QStringLiteral("empty resource string"));

    QList<QStringView> fields = splitFields(trimmed);
    for (qsizetype i = 0; i < fields.size(); ++i) {
        if (fields.at(i).isEmpty()) {
            return invalid(i == 0 ? QStringLiteral("missing resource type")
                                  : QStringLiteral("empty field after '%1'").arg(fields.at(i - 1)));
        }
    }

    QStringView const head = fields.takeFirst();
    QStringView resourceClass;
    if (!fields.isEmpty()) {
        QStringView const last = fields.last();
        for (QStringView const cls : {u"INSTR", u"SOCKET", u"RAW", u"INTFC", u"BACKPLANE", u"SERVANT"}) {
            if (isKeyword(last, cls)) {
                resourceClass = cls;
                fields.removeLast();
                break;
            }
        }
    }

    bool const tcpip = head.startsWith(u"TCPIP", Qt::CaseInsensitive);
    if (!resourceClass.isEmpty() && resourceClass != u"INSTR" && !(tcpip && resourceClass == u"SOCKET"))
        return invalid(QStringLiteral("unsupported resource class '%1'").arg(resourceClass));

    if (head.startsWith(u"ASRL", Qt::CaseInsensitive))
        return parseAsrl(head.mid(4), fields);

    struct Type
    {
        QStringView keyword;
        VisaResource (*parse)(int, QList<QStringView> const&, QStringView);
    };
    static Type const kTypes[] = {
        {u"TCPIP", parseTcpip},
        {u"USB",
         [](int b, QList<QStringView> const& f, QStringView) {
             return parseUsb(b, f);
         }},
        {u"GPIB",
         [](int b, QList<QStringView> const& f, QStringView) {
             return parseGpib(b, f);
         }},
    };
    for (Type const& type : kTypes) {
        int board = 0;
        if (head.startsWith(type.keyword, Qt::CaseInsensitive)) {
            QStringView const number = head.mid(type.keyword.size());
            if (!number.isEmpty() && !allDigits(number))
                break; // "TCPIPX", "GPIB-VXI0": another type
            if (!readBoard(number, board))
                return invalid(QStringLiteral("invalid board number '%1'").arg(number));
            return type.parse(board, fields, resourceClass);
        }
    }
    return invalid(QStringLiteral("unknown resource type '%1'").arg(head));
}

QString VisaResource::canonical() const
{
    switch (kind) {
    case Kind::TcpipSocket:
    case Kind::TcpipInstr: {
        QString const address = host.contains(u':') ? u'[' + host + u']' : host;
        if (kind == Kind::TcpipSocket)
            return QStringLiteral("TCPIP%1::%2::%3::SOCKET").arg(board).arg(address).arg(port);
        return QStringLiteral("TCPIP%1::%2::%3::INSTR").arg(board).arg(address, lanDevice);
    }
    case Kind::Asrl:
        return QStringLiteral("ASRL%1::INSTR").arg(serialPort);
    case Kind::Usb: {
        QString text = QStringLiteral("USB%1::0x%2::0x%3::%4")
                           .arg(board)
                           .arg(hex4(vendorId), hex4(productId), serialNumber);
        if (usbInterface >= 0)
            text += QStringLiteral("::%1").arg(usbInterface);
        return text + QStringLiteral("::INSTR");
    }
    case Kind::Gpib:
        return QStringLiteral("GPIB%1::%2::INSTR").arg(board).arg(gpibAddress);
    case Kind::Invalid:
        break;
    }
    return {};
}

} // namespace zelt::measure::io::visa
