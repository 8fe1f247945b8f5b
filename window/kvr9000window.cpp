#include "window/kvr9000window.h"
#include "ui_kvr9000window.h"

#include "ui_dlgoption.h"
#include "window/dlgoption.h"
#include "window/sequencerun.h"

#include "driver/dmmhelper.h"
#include "driver/mydmm.h"
#include "measure/io/visa/visaequipinfo.h"
#include "measure/io/visa/visaio.h"
#include "programmer/dialogprogrammer.h"
#include "quicksettings/buttonitemdelegate.h"
#include "quicksettings/quicksettingdatamodel.h"
#include "recording/celldelegate.h"
#include "recording/dpdatarender.h"
#include "system/system.h"
#include "util/character.h"
#include "util/statemonitor.h"
#include "widget/ccheckbox.h"
#include "widget/measure/powersupplylcd.h"
#include "widget/measure/valuewidget.h"
#include "widget/statelabel.h"
#include "widget/statewidgetbox.h"
#include "widget/widgethelper.h"
#include "widgets/channelwidget.h"

#include <QCloseEvent>
#include <QComboBox>
#include <QCoreApplication>
#include <QCursor>
#include <QDataStream>
#include <QDateTime>
#include <QDebug>
#include <QDoubleSpinBox>
#include <QFileDialog>
#include <QFileInfo>
#include <QFontMetrics>
#include <QHeaderView>
#include <QMenu>
#include <QMessageBox>
#include <QRegularExpression>
#include <QScrollBar>
#include <QSettings>
#include <QSlider>
#include <QSpinBox>
#include <QTimer>

#include <algorithm>
#include <cmath>
#include <limits>

using zelt::util::numeric::Range;
using zelt::widget::StateLabel;
using zelt::widget::measure::PowerSupplyLCD;
// Not a using-declaration: the channel panel has a ValueWidget of its own.
namespace lcd = zelt::widget::measure;

namespace {

constexpr char const* kTextContext = "KVR9000";
// The state in which the panel's widgets are lit.
constexpr zelt::widget::AbstractStateWidget::State kLit = 2;
constexpr char const* kOutputOnStyle = "background-color:rgb(0,255,0);border: 1px solid #808080;";

// A name typed without a suffix gets the first one of the filter, so that the file is found
// again under the filters that it is looked for with.
QString withFilterSuffix(QString const& file, QString const& filter)
{
    if (file.isEmpty() || !QFileInfo(file).suffix().isEmpty())
        return file;
    static QRegularExpression const pattern(QStringLiteral("\\*(\\.[^\\s)*]+)"));
    QRegularExpressionMatch const match = pattern.match(filter);
    return match.hasMatch() ? file + match.captured(1) : file;
}

// A sequence file is a few kilobytes; a larger one is refused before anything of it is read.
bool fitsSequenceFile(DialogProgrammer* dialog, QString const& file)
{
    if (QFileInfo(file).size() <= zelt::util::character::Character::kCsvMostBytes)
        return true;
    dialog->showError(KVR9000Window::tr("The file is too large for a sequence"), 3000);
    return false;
}

// The power-mode words in the order of kPowerModelText and kPowerModelSimplyText.
constexpr char const* kPowerModes[6]
    = {dmmhelper::kPowerModeNormal,    dmmhelper::kPowerModePARAMaster, dmmhelper::kPowerModePARASlave,
       dmmhelper::kPowerModeSERMaster, dmmhelper::kPowerModeSERSlave,   dmmhelper::kPowerModeExtV};

int powerModeIndex(QString const& mode)
{
    auto const* it = std::find_if(std::begin(kPowerModes), std::end(kPowerModes),
                                  [&mode](char const* word) { return mode == QLatin1String(word); });
    return it == std::end(kPowerModes) ? -1 : int(it - std::begin(kPowerModes));
}

QString translatedPowerModeText(QString const& mode)
{
    return QCoreApplication::translate(kTextContext, dmmhelper::getPowerModeText(mode).toUtf8().constData());
}

void selectByData(QComboBox* box, QString const& word)
{
    box->setCurrentIndex(box->findData(word, Qt::UserRole, Qt::MatchCaseSensitive));
}

// A spin box is drawn again by every setValue, even of the value it shows; most samples change
// none of the settings.
void showValue(QDoubleSpinBox* spin, double value)
{
    if (!std::isnan(value)) {
        double const shown = std::clamp(QString::number(value, 'f', spin->decimals()).toDouble(),
                                        spin->minimum(), spin->maximum());
        if (spin->value() == shown)
            return;
    }
    spin->setValue(value);
}

void showValue(QSpinBox* spin, int value)
{
    if (spin->value() != value)
        spin->setValue(value);
}

} // namespace

KVR9000Window::KVR9000Window(QSharedPointer<zelt::widget::EquipmentInfo> const& equipment, QWidget* parent,
                             Qt::WindowFlags flags)
    : EquipmentWindow(equipment, parent, flags)
    , ui(new Ui_KVR9000Window)
{
    ui->setupUi(this);

    m_initialised = false;
    if (!initObject()) {
        QMessageBox::critical(this, QString(), tr("Run failed!"), QMessageBox::Ok);
        return;
    }
    loadSetting();
    initWidget();
    m_initialised = true;
    // What a host may reach without knowing this family.
    setParts({m_dmm, ui->actionStart, ui->tv1, m_lcd,
              [this] {
                  auto const sample = m_dmm->lastMeasureData();
                  Channel const* ch = sample ? sample->activeChannel() : nullptr;
                  return ch ? zelt::widget::OutputState {true, ch->outputOn, ch->voltage.protectionTripped,
                                                         ch->current.protectionTripped}
                            : zelt::widget::OutputState {};
              },
              [this](zelt::widget::Protection p) {
                  p == zelt::widget::Protection::OverVoltage ? m_dmm->cmdOVPClear() : m_dmm->cmdOCPClear();
              }});

    m_dmm->open();
    // The host hears of the window only once the constructor has returned.
    QTimer::singleShot(0, this, [this] { Q_EMIT opened(this->equipment()); });
    if (m_sampleInterval > 0)
        m_sampleTimerId = startTimer(m_sampleInterval, Qt::CoarseTimer);
}

KVR9000Window::~KVR9000Window()
{
    // The charts go with the splitter; the renders, their models and columns go here.
    for (DataRenderHouse* render : std::as_const(m_dataRenders)) {
        QList<Column*> const columns = render->modelHouse->model->columns();
        delete render;
        qDeleteAll(columns);
    }
    delete ui;
    delete m_monitor;
}

bool KVR9000Window::parseRange(QString const& model, Range& voltage, Range& current, Range& power)
{
    double const minimum = getMinVoltage(model);
    dmmhelper::regExp.setPattern(QStringLiteral("^(?i)\\w*(\\d{3})-(\\d*)$"));
    QRegularExpressionMatch const match = dmmhelper::regExp.match(model);
    if (!match.hasMatch())
        return false;

    voltage = Range(minimum, match.captured(1).toDouble());
    current = Range(0, match.captured(2).toDouble());
    power = Range(0, voltage.maximum * current.maximum * 0.25);
    // The rated power of the family is at least 400 W, and the smaller units come in
    // 400, 800 and 1200 W; the comparison is strict on purpose.
    if (power.maximum < 400)
        power.maximum = 400;
    else if (power.maximum < 800)
        power.maximum = 800;
    else if (power.maximum < 1200)
        power.maximum = 1200;
    return true;
}

double KVR9000Window::getMinVoltage(QString const& model)
{
    dmmhelper::regExp.setPattern(QStringLiteral("^(?i)\\w*(\\d{3})-(\\d*)$"));
    QRegularExpressionMatch const match = dmmhelper::regExp.match(model);
    if (!match.hasMatch())
        return 0.1;
    QString const rated = match.captured(1);
    return rated == QLatin1String("160") || rated == QLatin1String("250") ? 0.5 : 0.1;
}

bool KVR9000Window::initObject()
{
    auto const info = equipment() ? equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()
                                  : QSharedPointer<zelt::measure::io::visa::VisaEquipInfo>();
    if (!info)
        return false;
    bool const parsed
        = parseRange(info->modelName, m_limits.voltageRange, m_limits.currentRange, m_limits.powerRange);
    if (parsed) {
        generateDMM();
        connect(m_dmm, &MyDMM::updateListout, this, &KVR9000Window::onDmmUpdateListout);
        m_sequenceRun = new SequenceRun(m_dmm, this);
        m_monitor = new zelt::util::gadget::StateMonitor(std::function<void()>());
    }
    return parsed;
}

void KVR9000Window::generateDMM()
{
    QSharedPointer<zelt::measure::io::AbstractIO> const io = equipment()->ioInfo->io;
    if (auto visa = io.dynamicCast<zelt::measure::io::visa::VisaIO>())
        visa->setTimeout(2000);
    m_dmm = new MyDMM(m_limits, io, true, this);
    m_dmm->setInterval(0);

    connect(m_dmm, &MyDMM::updateData, this, &KVR9000Window::onDmmUpdateData);
    connect(m_dmm, &zelt::measure::MeasureInst::started, this, &KVR9000Window::onDmmOpened);
    connect(m_dmm, &zelt::measure::MeasureInst::stoped, this, &KVR9000Window::onDmmClosed);
    connect(m_dmm, &zelt::measure::MeasureInst::processError, this, &KVR9000Window::onDmmProcessError);
}

void KVR9000Window::initWidget()
{
    QHeaderView* header = ui->tv1->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Stretch);
    ui->tv1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui->tv1->setItemDelegate(new CellCacheDelegate(ui->tv1));
    ui->tv1->installEventFilter(this);

    initDataRender();
    init_other_widget();
}

void KVR9000Window::initTableView()
{
    QHeaderView* header = ui->tv1->horizontalHeader();
    header->setDefaultAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    header->setSectionResizeMode(QHeaderView::Stretch);
    ui->tv1->setSelectionBehavior(QAbstractItemView::SelectRows);
    ui->tv1->installEventFilter(this);
}

void KVR9000Window::init_other_widget()
{
    QColor const enabledColor(255, 255, 0);

    changeControlWidgetEnalble(false);
    ui->splitterMain->setSizes({100, 2000});
    ui->splitterView->setSizes({500, 500});
    ui->actionPause->setCheckable(true);
    ui->actionStart->setCheckable(false);

    // Five annunciators and three readings; the group readouts are added below.
    m_lcd = new PowerSupplyLCD(5, 3, 0, 0, 0, nullptr, {});
    QFont headerFont = font();
    headerFont.setWeight(QFont::Weight(600));
    headerFont.setPointSize(9);
    int const headerWidth = QFontMetrics(headerFont).horizontalAdvance(QStringLiteral("AAAAAAAAAA"));
    for (int i = 0; i < m_lcd->headerWidgetCount(); ++i) {
        StateLabel* label = m_lcd->headerWidget(i);
        label->setMargin(2);
        label->label()->setFont(headerFont);
        label->setMinimumWidth(headerWidth);
        label->setMaximumWidth(headerWidth);
    }

    m_valueVoltage = m_lcd->measureWidget(0);
    m_valueCurrent = m_lcd->measureWidget(1);
    m_valuePower = m_lcd->measureWidget(2);
    m_valueVoltage->setValue(QStringLiteral("0.000"));
    m_valueVoltage->setUnit(QStringLiteral("V"));
    m_valueCurrent->setValue(QStringLiteral("0.000"));
    m_valueCurrent->setUnit(QStringLiteral("A"));
    m_valuePower->setValue(QStringLiteral("0.000"));
    m_valuePower->setUnit(QStringLiteral("W"));

    auto makeGroupReadout = [] {
        auto* readout = new lcd::ValueWidget(nullptr, {});
        readout->setUnit(QString());
        readout->hide();
        return readout;
    };
    m_groupPower = makeGroupReadout();
    m_groupCurrent = makeGroupReadout();
    m_groupVoltage = makeGroupReadout();
    m_lcd->measure()->insert(2, m_groupPower);
    m_lcd->measure()->insert(1, m_groupCurrent);
    m_lcd->measure()->insert(0, m_groupVoltage);

    // Odd positions hold this unit's readings, even ones the group's: the unit's are large.
    for (int i = 0; i < m_lcd->measureWidgetCount(); ++i) {
        lcd::ValueWidget* readout = m_lcd->measureWidget(i);
        readout->setMargin(0);
        readout->valueWidget()->setPointSize(i % 2 == 1 ? 20 : 12);
        readout->unitWidget()->setPointSize(12);
        readout->dispatchToWidgets(true);
        readout->setEnabledWindowColor(readout->color(kLit, false));
        readout->valueWidget()->setEnabledTextColor(enabledColor);
        readout->unitWidget()->setEnabledTextColor(enabledColor);
        readout->valueWidget()->setAlignment(Qt::AlignHCenter | Qt::AlignVCenter);
    }
    m_lcd->refreshLayout();
    ui->layLcd->addWidget(m_lcd, 0, 0);

    m_configWidgets = zelt::widget::WidgetHelper::getChildren(
        ui->pnlControl,
        {QString::fromLatin1(QAbstractSpinBox::staticMetaObject.className()),
         QString::fromLatin1(QComboBox::staticMetaObject.className()),
         QString::fromLatin1(QSlider::staticMetaObject.className())},
        true);

    {
        ConfigSignalGuard const guard(*this);
        for (char const* mode : kPowerModes)
            ui->cbbMode->addItem(translatedPowerModeText(QLatin1String(mode)), QString::fromLatin1(mode));
        ui->cbbMode->setCurrentIndex(0);
        ui->spinSlaveID->setRange(1, 2);
        ui->spinSlaveID->setButtonSymbols(QAbstractSpinBox::NoButtons);
        ui->cbbPowerOut->addItem(tr("OFF"), QStringLiteral("OFF"));
        ui->cbbPowerOut->addItem(tr("Keep"), QStringLiteral("KEEP"));
        ui->cbbPowerOut->setCurrentIndex(0);
        for (QSpinBox* delay : {ui->spinOVPDelay, ui->spinOCPDelay}) {
            delay->setRange(10, 10000);
            delay->setSingleStep(10);
            delay->setSuffix(QStringLiteral("ms"));
        }
        ui->cbbEload->addItem(tr("OFF"), QStringLiteral("OFF"));
        ui->cbbEload->addItem(tr("ON"), QStringLiteral("ON"));
        ui->cbbEload->setCurrentIndex(0);

        m_lblPowerMode = m_lcd->headerWidget(0);
        m_lblSRMode = m_lcd->headerWidget(1);
        m_lblCVCC = m_lcd->headerWidget(2);
        m_lblOVP = m_lcd->headerWidget(3);
        m_lblOCP = m_lcd->headerWidget(4);
        m_lblPowerMode->setText(translatedPowerModeText(QLatin1String(dmmhelper::kPowerModeNormal)));
        m_lblSRMode->setText(tr("VHS"));
        m_lblCVCC->setText(tr("CV"));
        m_lblOVP->setText(tr("OVP"));
        m_lblOCP->setText(tr("OCP"));

        ui->cbbSRMode->addItem(tr("CV HighSpeed"), QLatin1String(dmmhelper::kSlewRateModeVHS));
        ui->cbbSRMode->addItem(tr("CC HighSpeed"), QLatin1String(dmmhelper::kSlewRateModeIHS));
        ui->cbbSRMode->addItem(tr("CV SlewRate"), QLatin1String(dmmhelper::kSlewRateModeVSR));
        ui->cbbSRMode->addItem(tr("CC SlewRate"), QLatin1String(dmmhelper::kSlewRateModeISR));
        for (QDoubleSpinBox* rate :
             {ui->spinVSRRising, ui->spinVSRFalling, ui->spinISRRising, ui->spinISRFalling}) {
            rate->setDecimals(3);
            rate->setRange(0.01, 840);
        }
        ui->spinInternalRES->setDecimals(3);
        ui->spinInternalRES->setRange(0, 1);
        ui->spinBrightness->setDecimals(0);
        ui->spinBrightness->setRange(20, 100);
    }

    m_quickSettingModel = new QuickSettingDataModel(m_quickSettings, this);
    // A view does not own its delegates: the window does.
    auto* buttons = new ButtonItemDelegate({tr("Execute")}, this);
    connect(buttons, &ButtonItemDelegate::clicked, this, &KVR9000Window::onQuickSettingButtonClicked,
            Qt::DirectConnection);
    ui->tvQuickSetting->verticalHeader()->hide();
    ui->tvQuickSetting->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    ui->tvQuickSetting->setSelectionBehavior(QAbstractItemView::SelectItems);
    ui->tvQuickSetting->setSelectionMode(QAbstractItemView::SingleSelection);
    ui->tvQuickSetting->setItemDelegateForColumn(3, buttons);
    ui->tvQuickSetting->setModel(m_quickSettingModel);
    ui->tvQuickSetting->installEventFilter(this);

    auto settle = [this] {
        disableAndMonitorControlWidget(2);
    };
    connect(ui->checkPowerDown, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdSetPowerDown(on);
        settle();
    });
    connect(ui->checkBeeper, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdSetBeeper(on);
        settle();
    });
    connect(ui->cbOVP, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdOVP(on);
        settle();
    });
    connect(ui->cbOCP, &zelt::widget::CCheckbox::toggled, this, [this, settle](bool on) {
        m_dmm->cmdOCP(on);
        settle();
    });
    connect(ui->cbbMode, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, settle](int index) {
        m_dmm->cmdPowerMode(ui->cbbMode->itemData(index).toString());
        settle();
    });
    connect(ui->spinSlaveID, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerID(ui->spinSlaveID->value());
        settle();
    });
    connect(ui->cbbPowerOut, qOverload<int>(&QComboBox::currentIndexChanged), this,
            [this, settle](int index) {
                m_dmm->cmdPowerPowerOut(ui->cbbPowerOut->itemData(index).toString());
                settle();
            });
    connect(ui->spinOVPDelay, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerOVPDelay(ui->spinOVPDelay->value());
        settle();
    });
    connect(ui->spinOCPDelay, &QSpinBox::editingFinished, this, [this, settle] {
        m_dmm->cmdPowerOCPDelay(ui->spinOCPDelay->value());
        settle();
    });
    connect(ui->cbbEload, qOverload<int>(&QComboBox::currentIndexChanged), this, [this, settle](int index) {
        m_dmm->cmdPowerEload(ui->cbbEload->itemData(index).toString());
        settle();
    });

    ui->actionTest->setVisible(false);
    // A window too short for the panel scrolls it rather than squeezing its controls, and the
    // splitter never cuts the panel's width.
    ui->scrollControl->setMinimumWidth(ui->pnlControl->minimumSizeHint().width()
                                       + ui->scrollControl->verticalScrollBar()->sizeHint().width());
    QMdiSubWindow::setWidget(ui->widget);
}

void KVR9000Window::initDataRender()
{
    struct ColumnText
    {
        char const* title;
        char const* key;
    };
    static ColumnText const columnTexts[] = {
        {QT_TR_NOOP("No."), "No"},
        {QT_TR_NOOP("Date/Time"), "Date/Time"},
        {QT_TR_NOOP("Mode"), "Mode"},
        {QT_TR_NOOP("Voltage(V)"), "Voltage"},
        {QT_TR_NOOP("Current(A)"), "Current"},
        {QT_TR_NOOP("Power(W)"), "Power"},
        {QT_TR_NOOP("P/S Voltage(V)"), "Voltage(P/S)"},
        {QT_TR_NOOP("P/S Current(A)"), "Current(P/S)"},
        {QT_TR_NOOP("P/S Power(W)"), "Power(P/S)"},
    };
    QList<Column*> columns;
    for (ColumnText const& text : columnTexts)
        columns.append(new Column {tr(text.title), QString::fromLatin1(text.key), 1});
    auto* modelHouse = new DataModelHouse(new SingleChannelDataModel(columns, 0, nullptr));

    QList<PlotGraph> const graphs = {
        {QStringLiteral("Voltage"), tr("Voltage(V)"), QColor::fromString("#8EEB00"), 3},
        {QStringLiteral("Current"), tr("Current(A)"), QColor::fromString("#133AAC"), 4},
        {QStringLiteral("Power"), tr("Power(W)"), QColor::fromString("#FF5600"), 3},
    };
    QString const title;
    QCustomPlot* plot = createPlot(title, graphs);

    // The value axes show the rated range and five percent more.
    ChannelLimitRange const& limit = *m_dmm->geChannelLimitRange(0);
    QList<QCPRange> const ranges = {
        QCPRange(limit.voltageRange.minimum, limit.voltageRange.maximum * 1.05),
        QCPRange(limit.currentRange.minimum, limit.currentRange.maximum * 1.05),
        QCPRange(limit.powerRange.minimum, limit.powerRange.maximum * 1.05),
    };
    auto* plotHouse = new PlotHouse(title, *plot, ranges, nullptr);
    connect(plotHouse, &PlotHouse::tracerUpdate, this, &KVR9000Window::onPlotTracerUpdate,
            Qt::DirectConnection);
    connect(plotHouse, &PlotHouse::actionSave, this, &KVR9000Window::on_actionSaveImage_triggered,
            Qt::DirectConnection);
    connect(plotHouse, &PlotHouse::actionClear, this, &KVR9000Window::on_actionClear_triggered,
            Qt::DirectConnection);

    m_dataRenders.append(new DataRenderHouse(0, modelHouse, plotHouse));
    changeRenderWidget(*m_dataRenders.at(0));
}

QCustomPlot* KVR9000Window::createPlot(QString const& title, QList<PlotGraph> const& graphs)
{
    auto* plot = new QCustomPlot(nullptr);
    plot->hide();
    // With an empty title, a blank band above the axes.
    plot->plotLayout()->insertRow(0);
    auto* titleElement = new QCPTextElement(plot, title);
    titleElement->setMargins(QMargins(0, 20, 0, 0));
    plot->plotLayout()->addElement(0, 0, titleElement);

    plot->legend->setVisible(true);
    plot->legend->setFillOrder(QCPLayoutGrid::foRowsFirst, true);

    // A tick label shows the date above the time.
    QSharedPointer<QCPAxisTickerDateTime> ticker(new QCPAxisTickerDateTime);
    ticker->setDateTimeFormat(QStringLiteral("yyyy-MM-dd HH:mm:ss").replace(u' ', u'\n'));
    ticker->setTickStepStrategy(QCPAxisTicker::tssMeetTickCount);
    plot->xAxis->setTicker(ticker);
    // Before the first sample the axis shows the present minute, not the clock's epoch.
    double const now = double(QDateTime::currentMSecsSinceEpoch()) / 1000.0;
    plot->xAxis->setRange(now, now + 60.0);
    plot->xAxis2->setTicker(ticker);
    // xAxis2 is only the upper frame line.
    plot->xAxis2->setVisible(true);
    plot->xAxis2->setTickLabels(false);
    plot->xAxis2->setSubTicks(false);
    plot->xAxis2->setTicks(false);
    plot->xAxis2->setSelectableParts(QCPAxis::spNone);
    connect(plot->xAxis, SIGNAL(rangeChanged(QCPRange)), plot->xAxis2, SLOT(setRange(QCPRange)));

    // One value axis a graph: the first on the left, the others on the right.
    plot->yAxis->ticker()->setTickCount(5);
    plot->yAxis2->setVisible(graphs.size() > 1);
    for (int i = 2; i < graphs.size(); ++i)
        plot->axisRect()->addAxis(QCPAxis::atRight, nullptr);
    QList<QCPAxis*> const axes = plot->axisRect()->axes(QCPAxis::atLeft | QCPAxis::atRight);
    int const count = int(std::min(axes.size(), graphs.size()));
    for (int i = 0; i < count; ++i) {
        axes.at(i)->setLabel(graphs.at(i).label);
        axes.at(i)->ticker()->setTickCount(5);
        axes.at(i)->setPadding(15);
    }
    for (int i = 0; i < count; ++i) {
        QCPGraph* graph = plot->addGraph(plot->xAxis, axes.at(i));
        graph->setName(graphs.at(i).label);
        graph->setProperty("name2", graphs.at(i).name);
        graph->setPen(QPen(graphs.at(i).color));
    }

    plot->setInteractions(QCP::iRangeDrag | QCP::iRangeZoom | QCP::iSelectPlottables | QCP::iSelectAxes
                          | QCP::iSelectLegend);
    plot->legend->setSelectableParts(QCPLegend::spItems);
    QCPAxisRect* rect = plot->axisRect(0);
    rect->setRangeDrag(Qt::Horizontal | Qt::Vertical);
    rect->setRangeZoom(Qt::Horizontal | Qt::Vertical);
    rect->setRangeDragAxes(rect->axes());
    rect->setRangeZoomAxes(rect->axes());
    for (int i = 0; i < plot->graphCount(); ++i) {
        plot->graph(i)->setScatterStyle(QCPScatterStyle(QCPScatterStyle::ssNone, 6.0));
        plot->graph(i)->setSelectable(QCP::stSingleData);
    }
    return plot;
}

void KVR9000Window::changeRenderWidget(DataRenderHouse const& render)
{
    ui->tv1->setModel(render.modelHouse->model);
    ui->tv1->scrollToBottom();
    QCustomPlot* plot = render.plotHouse->plot();
    if (ui->splitterView->indexOf(plot) >= 0)
        return;
    // The splitter lets go of the widget it gives back: it stays with the window, hidden.
    if (QWidget* previous = ui->splitterView->replaceWidget(ui->splitterView->count() - 1, plot)) {
        previous->hide();
        previous->setParent(ui->widget);
    }
    plot->show();
    render.plotHouse->replot();
    render.plotHouse->rescaleYAxes();
}

DataRenderHouse* KVR9000Window::getActiveDataRender(QSharedPointer<DmmData> const& data) const
{
    return data ? m_dataRenders.value(data->activeChannel()->index) : nullptr;
}

DataRenderHouse* KVR9000Window::getDataRenderHouse(QCustomPlot const* plot,
                                                   QList<DataRenderHouse*> const& datas) const
{
    auto const found = std::find_if(datas.begin(), datas.end(), [plot](DataRenderHouse const* render) {
        return render->plotHouse && render->plotHouse->plot() == plot;
    });
    return found == datas.end() ? nullptr : *found;
}

void KVR9000Window::clearDataRender(DataRenderHouse& render)
{
    render.clear();
    render.plotHouse->replot();
    render.plotHouse->rescaleYAxes();
}

void KVR9000Window::clearAllDataRender()
{
    for (DataRenderHouse* render : std::as_const(m_dataRenders))
        clearDataRender(*render);
}

ChannelWidget* KVR9000Window::getChannelWidget(int index) const
{
    return findChild<ChannelWidget*>(QStringLiteral("lcdCh%1").arg(index));
}

void KVR9000Window::loadSetting()
{
    QSettings settings;
    settings.beginGroup(equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()->modelName);
    m_sampleInfinitely = settings.value(QStringLiteral("SampleInfinitely"), true).toBool();
    m_samplePoints = settings.value(QStringLiteral("SamplePoints"), 9999).toInt();
    m_sampleInterval = settings.value(QStringLiteral("SampleInterval"), 0).toInt();
    QByteArray array = settings.value(QStringLiteral("QuickSettings")).toByteArray();
    m_quickSettings = array.isEmpty() ? QList<QSharedPointer<DPData>>() : arrayToDpDatas(array);
    settings.endGroup();
}

void KVR9000Window::saveSetting()
{
    QSettings settings;
    settings.beginGroup(equipment()->ioInfo.dynamicCast<zelt::measure::io::visa::VisaEquipInfo>()->modelName);
    settings.setValue(QStringLiteral("SampleInfinitely"), m_sampleInfinitely);
    settings.setValue(QStringLiteral("SamplePoints"), m_samplePoints);
    settings.setValue(QStringLiteral("SampleInterval"), m_sampleInterval);
    settings.setValue(QStringLiteral("QuickSettings"), dpDatasToArray(m_quickSettings));
    settings.endGroup();
}

QList<QSharedPointer<DPData>> KVR9000Window::arrayToDpDatas(QByteArray& array) const
{
    QList<QSharedPointer<DPData>> datas;
    if (array.isEmpty())
        return datas;
    QDataStream stream(&array, QIODevice::ReadOnly);
    stream >> datas;
    return datas;
}

QByteArray KVR9000Window::dpDatasToArray(QList<QSharedPointer<DPData>> const& datas) const
{
    QByteArray array;
    QDataStream stream(&array, QIODevice::WriteOnly);
    stream << datas;
    return array;
}

QList<QSharedPointer<DPData>> KVR9000Window::makeDefaultQuickSettingData() const
{
    QList<QSharedPointer<DPData>> datas;
    for (DPData const& row : {DPData {1.0, 0.1}, DPData {10.0, 0.01}, DPData {0.0, 0.0}})
        datas.append(QSharedPointer<DPData>::create(row));
    return datas;
}

void KVR9000Window::on_actionStart_triggered()
{
    bool const active = m_dmm->active();
    // The action waits for the driver's answer, started or stoped.
    ui->actionStart->setCheckable(false);
    ui->actionStart->setEnabled(false);
    if (!active) {
        m_errorCount = 0;
        m_dmm->open();
    } else {
        m_dmm->close();
    }
}

void KVR9000Window::on_actionPause_triggered(bool checked)
{
    m_paused = checked;
    m_sampleDue = false;
}

void KVR9000Window::onDmmOpened()
{
    changeControlWidgetEnalble(false);
    // The first sample fills the widgets and releases the groups.
    m_monitor->in(1);
    ui->actionStart->setEnabled(true);
    ui->actionStart->setCheckable(true);
    ui->actionStart->setChecked(true);
    ui->actionProgrammer->setEnabled(true);
}

void KVR9000Window::onDmmClosed()
{
    changeControlWidgetEnalble(false);
    ui->actionStart->setEnabled(true);
    ui->actionStart->setCheckable(true);
    ui->actionStart->setChecked(false);
    ui->actionProgrammer->setEnabled(false);
    if (m_closing)
        close();
}

void KVR9000Window::onDmmProcessError(QSharedPointer<zelt::util::Word> const&)
{
    qDebug() << QDateTime::currentDateTime();
    ++m_errorCount;
    if (m_errorCount > 8) {
        m_dmm->closeForce();
        QMessageBox::critical(this, QString(),
                              tr("The communication is failed and the application is stoped."),
                              QMessageBox::Ok);
    }
}

void KVR9000Window::onDmmUpdateListout(ListAndDelayer const& listAndDelayer)
{
    // Only the programmer asks for these groups; with its dialog gone the reply has no one to move on.
    if (!m_dialogProgrammer)
        return;
    UploadParam const& p = m_uploadParam;
    switch (listAndDelayer.kind) {
    case 1:
        if (!m_sequenceRun->stateArrived(listAndDelayer))
            return;
        if (listAndDelayer.running) {
            m_dialogProgrammer->showError(tr("The list is running"), 3000);
            m_dialogProgrammer->uploaderStop();
            return;
        }
        m_dmm->cmdListSetBase(p.start, p.groups, p.cycles, p.endState);
        // Item 0 only triggers the first row, whatever the start.
        m_dmm->listQueryItem(0, 1);
        return;
    case 3:
        if (!m_sequenceRun->stateArrived(listAndDelayer))
            return;
        if (listAndDelayer.running) {
            m_dialogProgrammer->showError(tr("The delayer is running"), 3000);
            m_dialogProgrammer->uploaderStop();
            return;
        }
        m_dmm->cmdDelaySetGroupStartNum(p.start);
        m_dmm->cmdDelaySetGroupCount(p.groups);
        m_dmm->cmdDelaySetCycles(p.cycles);
        m_dmm->cmdDelaySetEndState(p.endState);
        m_dmm->cmdDelaySetGroupStopCondition(p.stopRule);
        m_dmm->delayQueryItem(0, 1);
        return;
    case 2:
    case 4:
        m_sequenceRun->uploadAnswered();
        m_dialogProgrammer->uploaderNext();
        return;
    default:
        return;
    }
}

void KVR9000Window::onPlotTracerUpdate(QCPGraph const& graph, int xKeyPos, QString& text)
{
    DataRenderHouse const* render = getDataRenderHouse(graph.parentPlot(), m_dataRenders);
    // After a clear the chart still has a selected graph, and its search gives an index
    // that no sample has.
    if (!render || !render->plotHouse || render->channel < 0 || xKeyPos < 0
        || xKeyPos >= render->datas.size()) {
        text = QStringLiteral("-");
        return;
    }
    DmmData const& sample = *render->datas.at(xKeyPos);
    Channel const& ch = *sample.channel(render->channel);
    QString const word = graph.property("name2").toString();

    using zelt::util::character::Character;
    zelt::measure::QUnitValueBox box;
    if (Character::isStart(word, QStringLiteral("voltage")))
        box = ch.voltage.measured;
    else if (Character::isStart(word, QStringLiteral("current")))
        box = ch.current.measured;
    else if (Character::isStart(word, QStringLiteral("power")))
        box = ch.power;
    text = QStringLiteral("%1\n%2: %3 %4%5")
               .arg(word, sample.dateTime().toString(QStringLiteral("yyyy-MM-dd hh:mm:ss")), box.text,
                    box.suffix, box.unit);
}

void KVR9000Window::onQuickSettingButtonClicked(int btnIndex, QModelIndex const& index)
{
    auto const* row = static_cast<DPData const*>(index.internalPointer());
    if (!index.isValid() || btnIndex != 0 || !row)
        return;
    m_dmm->cmdVoltage(row->voltage);
    m_dmm->cmdCurrent(row->current);
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::timerEvent(QTimerEvent*)
{
    m_sampleDue = true;
}

void KVR9000Window::closeEvent(QCloseEvent* event)
{
    // The window goes only once the driver has stopped: onDmmClosed closes it again.
    if (m_dmm && m_dmm->active()) {
        m_closing = true;
        m_dmm->close();
        event->ignore();
        return;
    }
    if (m_sampleTimerId != 0) {
        killTimer(m_sampleTimerId);
        m_sampleTimerId = 0;
    }
    if (m_dmm)
        saveSetting();
    EquipmentWindow::closeEvent(event);
}

bool KVR9000Window::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ContextMenu) {
        if (watched == ui->tv1 && execHistoryMenu())
            return true;
        if (watched == ui->tvQuickSetting && execQuickSettingMenu())
            return true;
    }
    return QMdiSubWindow::eventFilter(watched, event);
}

bool KVR9000Window::execHistoryMenu()
{
    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(ui->actionExport);
    menu->addSeparator();
    menu->addAction(ui->actionClear);
    menu->exec(QCursor::pos());
    return true;
}

bool KVR9000Window::execQuickSettingMenu()
{
    QTableView* view = ui->tvQuickSetting;
    QAbstractItemModel* model = view->model();
    QModelIndex const current = view->currentIndex();

    QAction append(QIcon(QStringLiteral(":images/append3.png")), tr("Append"));
    QAction insert(QIcon(QStringLiteral(":images/insert32.png")), tr("Insert"));
    QAction remove(QIcon(QStringLiteral(":images/delete.png")), tr("Delete"));
    QAction clear(QIcon(QStringLiteral(":images/deleteAll.png")), tr("Clear"));
    insert.setEnabled(current.isValid());
    remove.setEnabled(current.isValid());
    clear.setEnabled(model->rowCount() > 0);

    // exec() below returns only once the menu is done, so the references stay good.
    connect(&append, &QAction::triggered, this, [&] {
        if (m_quickSettingModel->insertRows(m_quickSettingModel->rowCount(), 1, QModelIndex()))
            view->setCurrentIndex(model->index(model->rowCount() - 1, 1));
    });
    connect(&insert, &QAction::triggered, this, [&] {
        if (m_quickSettingModel->insertRows(current.row(), 1, QModelIndex()))
            view->setCurrentIndex(model->index(current.row(), 1));
    });
    connect(&remove, &QAction::triggered, this, [&] {
        int const row = current.row();
        int const column = current.column();
        if (m_quickSettingModel->removeRows(row, 1, QModelIndex()))
            view->setCurrentIndex(model->index(std::max(0, std::min(model->rowCount() - 1, row)), column));
    });
    connect(&clear, &QAction::triggered, this,
            [&] { m_quickSettingModel->removeRows(0, m_quickSettingModel->rowCount(), QModelIndex()); });

    auto* menu = new QMenu(this);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    menu->addAction(&append);
    menu->addAction(&insert);
    menu->addSeparator();
    menu->addAction(&remove);
    menu->addAction(&clear);
    menu->exec(QCursor::pos());
    return true;
}

void KVR9000Window::on_actionClear_triggered()
{
    if (QMessageBox::question(this, QStringLiteral("Clear Data"),
                              tr("Are you sure you want to clear all data?"),
                              QMessageBox::Yes | QMessageBox::No, QMessageBox::No)
        != QMessageBox::Yes)
        return;
    // The driver keeps its own samples: only the record's table and chart start anew.
    if (DataRenderHouse* render = getActiveDataRender(m_dmm->lastMeasureData()))
        clearDataRender(*render);
}

void KVR9000Window::on_actionExport_triggered()
{
    QString const filter = QStringLiteral("csv(*.csv)");
    QString const name
        = withFilterSuffix(QFileDialog::getSaveFileName(this, tr("Save As"), QString(), filter), filter);
    DataRenderHouse* render = getActiveDataRender(m_dmm->lastMeasureData());
    if (name.isEmpty() || m_dmm->getMeasureData().isEmpty() || !render)
        return;
    // The file holds what the table shows, not the driver's samples.
    if (zelt::util::character::Character::csvSave(name, render->modelHouse->model, false)) {
        if (QMessageBox::question(this, QString(),
                                  tr("Successful to export data.\nDo you want to open the file?"),
                                  QMessageBox::Yes | QMessageBox::No, QMessageBox::NoButton)
            == QMessageBox::Yes)
            zelt::system::System::openFile(name);
    } else {
        QMessageBox::information(this, QString(), tr("Failed to export data."), QMessageBox::Ok,
                                 QMessageBox::NoButton);
    }
}

void KVR9000Window::on_actionOptions_triggered()
{
    DlgOption dialog(nullptr);
    dialog.setWindowTitle(tr("Options"));
    dialog.ui->cbInfinite->setChecked(m_sampleInfinitely);
    dialog.ui->spinSamplePoints->setEnabled(!m_sampleInfinitely);
    dialog.ui->spinSamplePoints->setValue(m_samplePoints);
    dialog.ui->spinSampleInterval->setValue(m_sampleInterval);

    if (dialog.exec() == QDialog::Accepted) {
        m_sampleInfinitely = dialog.ui->cbInfinite->isChecked();
        m_samplePoints = dialog.ui->spinSamplePoints->value();
        m_sampleInterval = dialog.ui->spinSampleInterval->value();
        if (m_sampleTimerId != 0) {
            killTimer(m_sampleTimerId);
            m_sampleTimerId = 0;
        }
        if (m_sampleInterval > 0) {
            m_sampleDue = false;
            m_sampleTimerId = startTimer(m_sampleInterval, Qt::CoarseTimer);
        }
    }
    saveSetting();
}

void KVR9000Window::on_actionSaveImage_triggered()
{
    QString const name = QFileDialog::getSaveFileName(this, tr("Save As"), QString(),
                                                      QStringLiteral("File(*.jpg *.png *.bmp)"));
    if (name.isEmpty())
        return;
    // Before the first sample there is no active render: nothing to save, nothing to say.
    DataRenderHouse* render = getActiveDataRender(m_dmm->lastMeasureData());
    if (!render)
        return;
    QByteArray const format = QFileInfo(name).suffix().toUpper().toLatin1();
    if (render->plotHouse->plot()->saveRastered(name, 0, 0, 1.0, format.constData(), -1, 96,
                                                QCP::ruDotsPerInch)) {
        if (QMessageBox::question(this, QString(),
                                  tr("Successful to export data.\nDo you want to open this file?"),
                                  QMessageBox::Yes | QMessageBox::No, QMessageBox::NoButton)
            == QMessageBox::Yes)
            zelt::system::System::openFile(name);
    } else {
        QMessageBox::information(this, QString(), tr("Failed to export data."), QMessageBox::Ok,
                                 QMessageBox::NoButton);
    }
}

void KVR9000Window::on_actionHelp_triggered()
{
}

void KVR9000Window::on_btnOutput_clicked()
{
    // The driver inverts the last reported state; false counts only before the first sample.
    m_dmm->cmdToggleOutput(false);
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinV_editingFinished()
{
    // editingFinished also comes when the focus merely passes through: an unchanged
    // value must neither be sent nor freeze the panel.
    if (ui->spinV->value() == m_dmm->lastMeasureData()->activeChannel()->voltage.level.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdVoltage(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinA_editingFinished()
{
    if (ui->spinA->value() == m_dmm->lastMeasureData()->activeChannel()->current.level.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdCurrent(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinOvp_editingFinished()
{
    if (ui->spinOvp->value() == m_dmm->lastMeasureData()->activeChannel()->voltage.protectionLevel.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdOVPValue(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinOcp_editingFinished()
{
    if (ui->spinOcp->value() == m_dmm->lastMeasureData()->activeChannel()->current.protectionLevel.value)
        return;
    if (auto* spin = qobject_cast<QDoubleSpinBox*>(sender()))
        m_dmm->cmdOCPValue(spin->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_actionTest_triggered()
{
}

void KVR9000Window::on_actionProgrammer_triggered()
{
    namespace programmer = zelt::specific::pxn3000s::programmer;
    programmer::Option option;
    for (ChannelLimitRange const& limit : m_dmm->geChannelLimitRange()) {
        programmer::Channel channel;
        channel.name = QStringLiteral("CH%1").arg(option.channels.size() + 1);
        // The programmer may address 5 % above the rating.
        for (zelt::util::numeric::Range const& r : {limit.voltageRange, limit.currentRange, limit.powerRange})
            channel.ranges.append(programmer::Range_t(r.minimum, r.maximum * 1.05));
        option.channels.append(channel);
    }
    option.name = equipment() ? equipment()->name : QString();
    option.timeDecimals = 1;
    option.timeRange = programmer::Range_t(0.1, 99999.9);
    option.voltageDecimals = 3;
    option.currentDecimals = 3;
    option.maxGroups = 128;
    option.canSave = true;
    option.canLoad = true;
    option.canUpload = true;

    auto* dialog = new DialogProgrammer(option, this);
    m_dialogProgrammer = dialog;
    dialog->setWindowTitle(tr("Programmer"));
    dialog->setWindowFlag(Qt::WindowContextHelpButtonHint, false);
    dialog->setWindowFlag(Qt::WindowMaximizeButtonHint, true);
    dialog->resize(1024, 700);

    connect(dialog, &DialogProgrammer::uploaderStarted, this, [this, dialog](UploadParam const& param) {
        m_uploadParam = param;
        if (!m_dmm->active()) {
            dialog->uploaderStop();
            return;
        }
        if (param.mode == DialogProgrammer::UploadList)
            m_dmm->listQueryOptions();
        else
            m_dmm->delayQueryOptions();
        m_sequenceRun->uploadAsked(param.mode);
    });
    connect(dialog, &DialogProgrammer::uploaderNextData, this,
            [this](int index, programmer::ProgrammerData const& data) {
                int const row = index + m_uploadParam.start;
                if (m_uploadParam.mode == DialogProgrammer::UploadList) {
                    auto const& item = dynamic_cast<programmer::ListData const&>(data);
                    m_dmm->cmdListSetItem(row, item.voltage, item.current, item.time);
                    m_dmm->listQueryItem(row, 1);
                } else {
                    auto const& item = dynamic_cast<programmer::DelayerData const&>(data);
                    m_dmm->cmdDelaySetItem(row, item.state, item.time);
                    m_dmm->delayQueryItem(row, 1);
                }
            });
    connect(dialog, &DialogProgrammer::uploaderFinished, this, [dialog] {
        dialog->uploaderStop();
        dialog->showInfo(tr("The upload has finished"), 3000);
    });
    connect(dialog, &DialogProgrammer::uploaderError, this, [dialog](QString const& text) {
        dialog->uploaderStop();
        dialog->showError(text, 3000);
    });
    connect(dialog, &DialogProgrammer::uploaderStoped, m_sequenceRun, &SequenceRun::uploadAnswered);
    m_sequenceRun->attach(dialog);
    connect(dialog, &QDialog::finished, dialog, &QObject::deleteLater);

    connect(dialog, &DialogProgrammer::listSaveToCSV, this,
            [option, dialog](QList<programmer::ListData> const& datas, UploadParam const& param) {
                if (datas.isEmpty()) {
                    dialog->showInfo(tr("The data is empty"), 3000);
                    return;
                }
                QString const filter = tr("CSV File (*.lst.csv)");
                QString const file = withFilterSuffix(
                    QFileDialog::getSaveFileName(nullptr, tr("Save"), QString(), filter), filter);
                if (file.isEmpty())
                    return;
                dialog->showInfo(saveListDataToCsv(file, option, datas, param) ? tr("Save file successfully")
                                                                               : tr("Failed to save file"),
                                 3000);
            });
    connect(dialog, &DialogProgrammer::listLoadFromCSV, this,
            [option, dialog](QList<programmer::ListData>& datas, UploadParam& param) {
                QString const file
                    = QFileDialog::getOpenFileName(nullptr, tr("Load"), QString(), tr("CSV File (*.csv)"));
                if (!file.isEmpty() && fitsSequenceFile(dialog, file))
                    datas = loadlistDataFromCsv(file, option, param);
            });
    connect(dialog, &DialogProgrammer::delayerSaveToCSV, this,
            [option, dialog](QList<programmer::DelayerData> const& datas, UploadParam const& param) {
                if (datas.isEmpty()) {
                    dialog->showInfo(tr("The data is empty"), 3000);
                    return;
                }
                QString const filter = tr("CSV File (*.dly.csv)");
                QString const file = withFilterSuffix(
                    QFileDialog::getSaveFileName(nullptr, tr("Save"), QString(), filter), filter);
                if (file.isEmpty())
                    return;
                dialog->showInfo(saveDelayerData(file, option, datas, param) ? tr("Save file successfully")
                                                                             : tr("Failed to save file"),
                                 3000);
            });
    connect(dialog, &DialogProgrammer::delayerLoadFromCSV, this,
            [option, dialog](QList<programmer::DelayerData>& datas, UploadParam& param) {
                QString const file
                    = QFileDialog::getOpenFileName(nullptr, tr("Load"), QString(), tr("CSV File (*.csv)"));
                if (!file.isEmpty() && fitsSequenceFile(dialog, file))
                    datas = loadDelayerDataFromCsv(file, option, param);
            });

    dialog->open();
}

namespace {

// The parts of a header line "key,value"; empty when the key differs or the value is missing.
QStringList csvHeader(QList<QString> const& lines, int line, QLatin1String key)
{
    QStringList const parts = lines.at(line).split(QLatin1Char(','), Qt::KeepEmptyParts);
    if (parts.size() < 2 || parts.at(0) != key)
        return {};
    return parts;
}

// The cycles of a file: text that is no 32-bit number gives 0; a number above 99999 (or a
// negative one, taken as unsigned) refuses the file.
bool csvCycles(QString const& text, int& cycles)
{
    bool ok = false;
    qint64 const value = text.toLongLong(&ok, 10);
    if (!ok || value < std::numeric_limits<qint32>::min() || value > std::numeric_limits<qint32>::max()) {
        cycles = 0;
        return true;
    }
    if (quint32(qint32(value)) > 99999u)
        return false;
    cycles = int(value);
    return true;
}

// Reads a window-format file: the header lines "start", "count", "cycles", "lastState", then
// those of its own keys, a line of column heads that is not read, and the rows, as many as
// the instrument holds; a row line needs more than `fields` parts. The number on the
// lastState line indexes endStates. A refused file gives no rows and leaves param as it was.
template<typename Row, typename Read>
QList<Row> csvLoadRows(QString const& file, int maxGroups, QStringList const& endStates,
                       QList<QLatin1String> const& keys, int fields, Read read, UploadParam& param)
{
    int const head = 4 + int(keys.size());
    QList<QString> const lines
        = zelt::util::character::Character::csvLoad(file, head + 1 + std::max(0, maxGroups));
    // A file shorter than its header is refused like a wrong one.
    if (lines.size() < head || csvHeader(lines, 0, QLatin1String("start")).isEmpty()
        || csvHeader(lines, 1, QLatin1String("count")).isEmpty())
        return {};
    QStringList const cyclesLine = csvHeader(lines, 2, QLatin1String("cycles"));
    int cycles = 0;
    if (cyclesLine.isEmpty() || !csvCycles(cyclesLine.at(1), cycles))
        return {};
    QStringList const stateLine = csvHeader(lines, 3, QLatin1String("lastState"));
    static QStringList const kStateTexts = {QStringLiteral("0"), QStringLiteral("1"), QStringLiteral("2")};
    qsizetype const state = stateLine.isEmpty() ? -1 : kStateTexts.indexOf(stateLine.at(1));
    if (state < 0 || state >= endStates.size())
        return {};
    for (int i = 0; i < keys.size(); ++i) {
        if (csvHeader(lines, 4 + i, keys.at(i)).isEmpty())
            return {};
    }

    QList<Row> rows;
    int const count = std::min(int(lines.size()) - head - 1, maxGroups);
    for (int i = 0; i < count; ++i) {
        QStringList const parts = lines.at(head + 1 + i).split(QLatin1Char(','), Qt::KeepEmptyParts);
        if (parts.size() > fields)
            rows.append(read(parts));
    }
    param.cycles = cycles;
    param.endState = endStates.at(state);
    return rows;
}

} // namespace

bool KVR9000Window::saveListDataToCsv(QString const& file,
                                      zelt::specific::pxn3000s::programmer::Option const& option,
                                      QList<zelt::specific::pxn3000s::programmer::ListData> const& datas,
                                      UploadParam const& param)
{
    QList<QString> lines;
    lines << QStringLiteral("start,%1").arg(0) << QStringLiteral("count,%1").arg(datas.size())
          << QStringLiteral("cycles,%1").arg(param.cycles)
          << QStringLiteral("lastState,%1").arg(param.endState == QLatin1String("ON") ? 1 : 0)
          << QStringLiteral("%1,%2,%3,%4")
                 .arg(QStringLiteral("No"), QStringLiteral("Vol(V)"), QStringLiteral("Amp(A)"),
                      QStringLiteral("keppT(s)"));
    for (int i = 0; i < datas.size(); ++i) {
        auto const& row = datas.at(i);
        lines << QStringLiteral("%1,%2,%3,%4")
                     .arg(i)
                     .arg(row.voltage, 0, 'f', option.voltageDecimals)
                     .arg(row.current, 0, 'f', option.currentDecimals)
                     .arg(row.time, 0, 'f', option.timeDecimals);
    }
    return zelt::util::character::Character::csvSave(file, lines);
}

QList<zelt::specific::pxn3000s::programmer::ListData> KVR9000Window::loadlistDataFromCsv(
    QString const& file, zelt::specific::pxn3000s::programmer::Option const& option, UploadParam& param)
{
    using zelt::specific::pxn3000s::programmer::ListData;
    return csvLoadRows<ListData>(
        file, option.maxGroups, {QStringLiteral("OFF"), QStringLiteral("ON")}, {}, 3,
        [](QStringList const& parts) {
            return ListData(parts.at(1).toDouble(), parts.at(2).toDouble(), parts.at(3).toDouble());
        },
        param);
}

bool KVR9000Window::saveDelayerData(QString const& file,
                                    zelt::specific::pxn3000s::programmer::Option const& option,
                                    QList<zelt::specific::pxn3000s::programmer::DelayerData> const& datas,
                                    UploadParam const& param)
{
    int lastState = 0;
    if (param.endState == QLatin1String("ON"))
        lastState = 1;
    else if (param.endState == QLatin1String("LAST"))
        lastState = 2;
    QList<QString> lines;
    // The stop rule is not kept: both of its lines hold 0.
    lines << QStringLiteral("start,%1").arg(0) << QStringLiteral("count,%1").arg(datas.size())
          << QStringLiteral("cycles,%1").arg(param.cycles) << QStringLiteral("lastState,%1").arg(lastState)
          << QStringLiteral("stopCondi,%1").arg(0) << QStringLiteral("stopValue,%1").arg(0)
          << QStringLiteral("%1,%2,%3")
                 .arg(QStringLiteral("No"), QStringLiteral("State"), QStringLiteral("delayT(s)"));
    for (int i = 0; i < datas.size(); ++i) {
        auto const& row = datas.at(i);
        lines << QStringLiteral("%1,%2,%3")
                     .arg(i)
                     .arg(row.state ? QStringLiteral("1") : QStringLiteral("0"))
                     .arg(row.time, 0, 'f', option.timeDecimals);
    }
    return zelt::util::character::Character::csvSave(file, lines);
}

QList<zelt::specific::pxn3000s::programmer::DelayerData> KVR9000Window::loadDelayerDataFromCsv(
    QString const& file, zelt::specific::pxn3000s::programmer::Option const& option, UploadParam& param)
{
    using zelt::specific::pxn3000s::programmer::DelayerData;
    return csvLoadRows<DelayerData>(
        file, option.maxGroups, {QStringLiteral("OFF"), QStringLiteral("ON"), QStringLiteral("LAST")},
        {QLatin1String("stopCondi"), QLatin1String("stopValue")}, 2,
        [](QStringList const& parts) {
            return DelayerData(zelt::util::character::Character::strToBool(parts.at(1)),
                               parts.at(2).toDouble());
        },
        param);
}

void KVR9000Window::on_cbbSRMode_currentIndexChanged(int)
{
    m_dmm->cmdSetSRMode(ui->cbbSRMode->currentData().toString());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinVSRRising_editingFinished()
{
    m_dmm->cmdSetVSRRising(ui->spinVSRRising->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinVSRFalling_editingFinished()
{
    m_dmm->cmdSetVSRFalling(ui->spinVSRFalling->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinISRRising_editingFinished()
{
    m_dmm->cmdSetISRRising(ui->spinISRRising->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinISRFalling_editingFinished()
{
    m_dmm->cmdSetISRFalling(ui->spinISRFalling->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinInternalRES_editingFinished()
{
    m_dmm->cmdSetInternalRES(ui->spinInternalRES->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::on_spinBrightness_editingFinished()
{
    m_dmm->cmdSetBrightness(ui->spinBrightness->value());
    disableAndMonitorControlWidget(2);
}

void KVR9000Window::changeControlWidgetEnalble(bool enable)
{
    ui->widgetOption->setEnabled(enable);
    ui->widgetQuickSetting->setEnabled(enable);
}

void KVR9000Window::disableAndMonitorControlWidget(int rounds)
{
    // Disabling moves the focus on, and the spin box that loses it finishes its editing:
    // that is no edit of the user's and must send nothing.
    {
        ConfigSignalGuard const guard(*this);
        changeControlWidgetEnalble(false);
    }
    m_monitor->in(rounds);
}

void KVR9000Window::changeRangeForWidget(int channel)
{
    ChannelLimitRange const& limit = m_dmm->geChannelLimitRange().at(channel);
    // Set points and protection levels alike reach 5 % above the rating.
    ui->spinV->setRange(limit.voltageRange.minimum, limit.voltageRange.maximum * 1.05);
    ui->spinOvp->setRange(limit.voltageRange.minimum, limit.voltageRange.maximum * 1.05);
    ui->spinA->setRange(limit.currentRange.minimum, limit.currentRange.maximum * 1.05);
    ui->spinOcp->setRange(limit.currentRange.minimum, limit.currentRange.maximum * 1.05);
}

void KVR9000Window::changeWidgetEnabledStyle(QWidget* widget, bool on)
{
    widget->setStyleSheet(on ? QLatin1String(kOutputOnStyle) : QString());
}

void KVR9000Window::onDmmUpdateData(QSharedPointer<DmmData> data)
{
    Channel const* channel = data ? data->activeChannel() : nullptr;
    if (!channel)
        return;

    if (isChannelChanged())
        changeRangeForWidget(channel->index);

    if (m_monitor->out([this] { changeControlWidgetEnalble(true); }))
        updateDataToConfig(data);
    updateDataToDisplay(data);

    // The recording gate: pause, the row limit, and the sample timer.
    if (m_paused)
        return;
    if (!m_sampleInfinitely && m_samplePoints <= recordedRowCount(channel->index))
        return;
    if (m_sampleInterval != 0 && !m_sampleDue)
        return;
    m_sampleDue = false;
    updateDataToRender(data);
}

bool KVR9000Window::isChannelChanged() const
{
    QList<QSharedPointer<DmmData>> const& history = m_dmm->getMeasureData();
    if (history.size() < 2)
        return true;
    return history.at(history.size() - 1)->activeChannel()->index
        != history.at(history.size() - 2)->activeChannel()->index;
}

int KVR9000Window::recordedRowCount(int channel) const
{
    DataRenderHouse const* render = m_dataRenders.value(channel);
    return render ? render->modelHouse->model->rowCount(QModelIndex()) : 0;
}

void KVR9000Window::updateDataToRender(QSharedPointer<DmmData> const& data)
{
    int const active = data->activeChannel()->index;
    for (int i = 0; i < m_dataRenders.size(); ++i) {
        DataRenderHouse* render = m_dataRenders.at(i);
        render->addData(data, i);
        ui->tv1->scrollToBottom();
        if (i == active)
            render->plotHouse->replot();
    }
}

void KVR9000Window::updateDataToDisplay(QSharedPointer<DmmData> data)
{
    Channel const& ch = *data->activeChannel();
    Config const& cfg = data->config();

    m_lblPowerMode->setStateOn(kLit, true);
    int const mode = powerModeIndex(cfg.powerMode);
    QString modeText
        = mode < 0 ? QString() : QCoreApplication::translate(kTextContext, kPowerModelSimplyText[mode]);
    if (cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARASlave)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERSlave))
        modeText = QStringLiteral("%1 %2").arg(modeText).arg(cfg.powerId);
    m_lblPowerMode->setText(modeText);

    m_lblSRMode->setStateOn(kLit, true);
    auto const* slew
        = std::find_if(std::begin(dmmhelper::kSlewRageModeText), std::end(dmmhelper::kSlewRageModeText),
                       [&cfg](char const* word) { return cfg.outputMode == QLatin1String(word); });
    m_lblSRMode->setText(slew == std::end(dmmhelper::kSlewRageModeText)
                             ? QString()
                             : QCoreApplication::translate(kTextContext, *slew));

    m_lblCVCC->setStateOn(kLit, ch.outputOn);
    m_lblCVCC->setText(ch.outputOn ? ch.cvcc : tr("OFF"));
    m_lblOVP->setStateOn(kLit, ch.voltage.protectionOn);
    m_lblOCP->setStateOn(kLit, ch.current.protectionOn);
    m_lcd->measure()->setStateOn(kLit, ch.outputOn);

    m_valueVoltage->setValue(dmmhelper::VBText(ch.voltage.measured));
    m_valueCurrent->setValue(dmmhelper::VBText(ch.current.measured));
    m_valuePower->setValue(dmmhelper::VBText(ch.power));

    bool const parallel = cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARAMaster)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModePARASlave);
    bool const series = cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERMaster)
        || cfg.powerMode == QLatin1String(dmmhelper::kPowerModeSERSlave);
    m_groupVoltage->setVisible(series);
    m_groupCurrent->setVisible(parallel);
    m_groupPower->setVisible(parallel || series);
    if (!parallel && !series)
        return;

    // Hidden readouts are written too: all three show the group of the mode.
    auto show = [](lcd::ValueWidget* readout, zelt::measure::QValueBox const& box) {
        readout->setValue(box.kind == 0 ? dmmhelper::VBText(box) : QStringLiteral("-"));
    };
    show(m_groupVoltage, parallel ? ch.parallelVoltage.measured : ch.seriesVoltage.measured);
    show(m_groupCurrent, parallel ? ch.parallelCurrent.measured : ch.seriesCurrent.measured);
    show(m_groupPower, parallel ? ch.parallelPower : ch.seriesPower);
}

void KVR9000Window::updateDataToConfig(QSharedPointer<DmmData> data)
{
    Channel const& ch = *data->activeChannel();
    Config const& cfg = data->config();
    QString const& mode = cfg.powerMode;

    // A value from the instrument is no edit: nothing written here may send a command,
    // and the widget that the user is in keeps what is being typed.
    ConfigSignalGuard const guard(*this);
    ui->btnOutput->setStyleSheet(ch.outputOn ? QLatin1String(kOutputOnStyle) : QString());
    QWidget const* focused = getHasFocusWidgetOfConfig();
    auto free = [focused](QWidget const* widget) {
        return widget != focused;
    };

    if (free(ui->spinV))
        showValue(ui->spinV, ch.voltage.level.value);
    if (free(ui->spinA))
        showValue(ui->spinA, ch.current.level.value);
    if (free(ui->cbOVP))
        ui->cbOVP->setChecked(ch.voltage.protectionOn);
    if (free(ui->cbOCP))
        ui->cbOCP->setChecked(ch.current.protectionOn);
    if (free(ui->spinOvp))
        showValue(ui->spinOvp, ch.voltage.protectionLevel.value);
    if (free(ui->spinOcp))
        showValue(ui->spinOcp, ch.current.protectionLevel.value);

    if (free(ui->cbbSRMode)) {
        selectByData(ui->cbbSRMode, cfg.outputMode);
        int const index = ui->cbbSRMode->currentIndex();
        // VHS and IHS need no rates; VSR shows pageVSR and ISR pageISR.
        ui->stackedWidgetSROption->setCurrentIndex(std::max(index, 1) - 1);
        ui->stackedWidgetSROption->setVisible(index > 1);
    }

    if (free(ui->spinVSRRising))
        showValue(ui->spinVSRRising, ch.voltage.slewRising.value);
    if (free(ui->spinVSRFalling))
        showValue(ui->spinVSRFalling, ch.voltage.slewFalling.value);
    if (free(ui->spinISRRising))
        showValue(ui->spinISRRising, ch.current.slewRising.value);
    if (free(ui->spinISRFalling))
        showValue(ui->spinISRFalling, ch.current.slewFalling.value);
    if (free(ui->spinBrightness))
        showValue(ui->spinBrightness, cfg.brightness);
    if (free(ui->checkBeeper))
        ui->checkBeeper->setChecked(cfg.beeper);
    if (free(ui->checkPowerDown))
        ui->checkPowerDown->setChecked(cfg.powerDown);

    if (free(ui->cbbMode))
        selectByData(ui->cbbMode, mode);

    bool const slave = mode == QLatin1String(dmmhelper::kPowerModePARASlave)
        || mode == QLatin1String(dmmhelper::kPowerModeSERSlave);
    bool const external = mode == QLatin1String(dmmhelper::kPowerModeExtV);
    ui->spinInternalRES->setEnabled(mode == QLatin1String(dmmhelper::kPowerModeNormal));
    ui->spinSlaveID->setEnabled(slave);
    ui->spinV->setEnabled(!external);
    ui->spinA->setEnabled(!external);

    if (free(ui->spinInternalRES))
        showValue(ui->spinInternalRES, cfg.resistance.value);
    if (free(ui->spinSlaveID))
        showValue(ui->spinSlaveID, cfg.powerId);
    if (free(ui->cbbPowerOut))
        selectByData(ui->cbbPowerOut, cfg.powerOut);
    if (free(ui->spinOVPDelay))
        showValue(ui->spinOVPDelay, cfg.ovpDelay);
    if (free(ui->spinOCPDelay))
        showValue(ui->spinOCPDelay, cfg.ocpDelay);
    if (free(ui->cbbEload))
        selectByData(ui->cbbEload, cfg.eloadState);
}

void KVR9000Window::blockSignalOfConfigWidget(bool block)
{
    for (QObject* widget : std::as_const(m_configWidgets))
        widget->blockSignals(block);
}

QWidget* KVR9000Window::getHasFocusWidgetOfConfig() const
{
    for (QObject* object : m_configWidgets) {
        auto* widget = qobject_cast<QWidget*>(object);
        if (widget
            && (object->inherits("QAbstractSpinBox") || object->inherits("QComboBox")
                || object->inherits("QSlider"))
            && widget->hasFocus())
            return widget;
    }
    return nullptr;
}
