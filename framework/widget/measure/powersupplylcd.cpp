#include "widget/measure/powersupplylcd.h"

#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"

#include <QGridLayout>
#include <QLabel>
#include <QPainter>
#include <QVBoxLayout>

namespace zelt::widget::measure {

namespace {

QColor const kBezel(0x2b, 0x31, 0x38);
QColor const kGlass(0x0e, 0x13, 0x18); // the colour of the state widgets' own background
QColor const kAnnunciatorLit(0x6c, 0xd4, 0xff);
QColor const kAnnunciatorLitBack(0x14, 0x2b, 0x3b);
int const kDefaultSpacing = 4;
int const kBezelWidth = 3;

} // namespace

PowerSupplyLCD::PowerSupplyLCD(int headers, int measures, int headerColumns, int measuresInRow, int spacing,
                               QWidget* parent, Qt::WindowFlags flags)
    : QFrame(parent, flags)
    , m_layout(new QGridLayout(this))
    , m_measure(new StateWidgetBox(Qt::Vertical, this))
    , m_headerStrip(new QWidget(this))
    , m_headerColumns(qMax(0, headerColumns))
    , m_measuresInRow(measuresInRow != 0)
    , m_spacing(spacing > 0 ? spacing : kDefaultSpacing)
{
    QFont headerFont = font();
    headerFont.setBold(true);
    headerFont.setPointSize(9);
    for (int i = 0; i < headers; ++i) {
        auto* header = new StateLabel(m_headerStrip);
        header->label()->setFont(headerFont);
        header->setColor(AbstractStateWidget::Enabled, true, kAnnunciatorLit);
        header->setColor(AbstractStateWidget::Enabled, false, kAnnunciatorLitBack);
        header->setMargin(2);
        m_headers.append(header);
    }
    // The whole column of readings lights with one call on the box.
    m_measure->dispatchToWidgets(true);
    for (int i = 0; i < measures; ++i)
        m_measure->append(new ValueWidget(m_measure));

    setAutoFillBackground(false);
    setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Maximum);
    PowerSupplyLCD::refreshLayout();
}

PowerSupplyLCD::~PowerSupplyLCD() = default;

int PowerSupplyLCD::measureWidgetCount() const
{
    return m_measure->count();
}

ValueWidget* PowerSupplyLCD::measureWidget(int index) const
{
    return qobject_cast<ValueWidget*>(m_measure->widget(index));
}

void PowerSupplyLCD::refreshLayout()
{
    while (m_layout->count() > 0)
        delete m_layout->takeAt(0);
    // The strip stays; only its grid is made again, as the columns may differ.
    delete m_headerStrip->layout();

    int const inner = kBezelWidth + m_spacing + 2;
    m_layout->setContentsMargins(inner, inner, inner, inner);
    m_layout->setSpacing(m_spacing * 2);

    auto* strip = new QGridLayout(m_headerStrip);
    strip->setContentsMargins(0, 0, 0, 0);
    strip->setSpacing(m_spacing);
    int const columns = m_headerColumns > 0 ? m_headerColumns : 1;
    for (int i = 0; i < m_headers.size(); ++i) {
        strip->addWidget(m_headers.at(i), i / columns, i % columns);
        m_headers.at(i)->show();
    }
    strip->setRowStretch(int((m_headers.size() + columns - 1) / columns), 1);

    m_measure->setOrientation(m_measuresInRow ? Qt::Horizontal : Qt::Vertical);
    m_measure->setSpacing(m_spacing);
    if (m_headerColumns > 0) {
        m_layout->addWidget(m_headerStrip, 0, 0);
        m_layout->addWidget(m_measure, 1, 0);
    } else {
        m_layout->addWidget(m_headerStrip, 0, 0);
        m_layout->addWidget(m_measure, 0, 1);
        m_layout->setColumnStretch(1, 1);
    }
    m_headerStrip->setVisible(!m_headers.isEmpty());
    m_layout->activate();
    updateGeometry();
}

void PowerSupplyLCD::paintEvent(QPaintEvent*)
{
    // A dark glass behind a thin bezel, as on the front of an instrument.
    QPainter painter(this);
    painter.setRenderHint(QPainter::Antialiasing);
    QRectF const outer = QRectF(rect()).adjusted(0.5, 0.5, -0.5, -0.5);
    painter.setPen(Qt::NoPen);
    painter.setBrush(kBezel);
    painter.drawRoundedRect(outer, 6, 6);
    QRectF const glass = outer.adjusted(kBezelWidth, kBezelWidth, -kBezelWidth, -kBezelWidth);
    painter.setBrush(kGlass);
    painter.drawRoundedRect(glass, 4, 4);
}

} // namespace zelt::widget::measure
