#include "programmer/dialogprogrammer.h"
#include "ui_dialogprogrammer.h"

#include "specific/comboboxdelegate.h"
#include "specific/delayermodel.h"
#include "specific/floatdelegate.h"
#include "specific/helper.h"
#include "specific/listdatamodel.h"
#include "specific/metatypes.h"
#include "specific/programmeruploader.h"
#include "specific/wavegenerator.h"
#include "util/character.h"

#include "plot/customplot.h"
#include <QCheckBox>
#include <QContextMenuEvent>
#include <QCursor>
#include <QDoubleSpinBox>
#include <QHeaderView>
#include <QLabel>
#include <QMap>
#include <QMenu>
#include <QProgressBar>
#include <QSettings>
#include <QSpinBox>
#include <QStatusBar>
#include <QTableView>

#include <algorithm>
#include <cmath>
#include <limits>

using namespace zelt::specific::pxn3000s::programmer;
using zelt::util::character::Character;

namespace {

QColor const kVoltageColor(QStringLiteral("#0000ff"));
QColor const kCurrentColor(QStringLiteral("#ff0000"));

QString const kRedBackground = QStringLiteral("background-color:#ff0000");

// The end-state texts of the dialog's own file format, by the index of the end-state combo.
QStringList const kListEndStates
    = {QStringLiteral("Output Off"), QStringLiteral("Output On"), QStringLiteral("Last")};
QStringList const kDelayerEndStates = kListEndStates;

constexpr int kMostCycles = 99999;

QString settingsGroup()
{
    return QStringLiteral("%1/Programmer").arg(Helper::getInstance().name);
}

double ticksPerSecond()
{
    return std::pow(10.0, Helper::getInstance().timeDecimals);
}

// The parts of a header line "key,value" when the key matches; empty otherwise.
QStringList headerLine(QList<QString> const& lines, int line, QLatin1String key)
{
    QStringList const parts = lines.at(line).split(QLatin1Char(','), Qt::KeepEmptyParts);
    if (parts.size() < 2 || parts.at(0) != key)
        return {};
    return parts;
}

// The cycles of a file: "Infinite" and text that is no 32-bit number give 0; above 99999
// (or negative, taken as unsigned) the file is refused.
bool readCycles(QString const& text, int& cycles)
{
    if (text == QLatin1String("Infinite")) {
        cycles = 0;
        return true;
    }
    bool ok = false;
    qint64 const value = text.toLongLong(&ok, 10);
    if (!ok || value < std::numeric_limits<qint32>::min() || value > std::numeric_limits<qint32>::max()) {
        cycles = 0;
        return true;
    }
    if (quint32(qint32(value)) > quint32(kMostCycles))
        return false;
    cycles = int(value);
    return true;
}

// "Groups,n": a 32-bit number from 1 to the instrument's rows.
bool groupsLineFits(QList<QString> const& lines)
{
    QStringList const parts = headerLine(lines, 3, QLatin1String("Groups"));
    if (parts.isEmpty())
        return false;
    bool ok = false;
    qint64 const groups = parts.at(1).toLongLong(&ok, 10);
    return ok && groups >= 1 && groups <= Helper::getInstance().maxGroups;
}

void setupPlotBase(QCustomPlot* plot)
{
    plot->setMinimumHeight(200);
    plot->setSizePolicy(QSizePolicy::Preferred, QSizePolicy::Minimum);
    plot->xAxis->setTicks(false);
    plot->xAxis->setRange(0, 100);
    plot->xAxis2->setVisible(true);
    plot->xAxis2->setTicks(false);
}

void addTitleRow(QCustomPlot* plot, QFont font)
{
    font.setPointSize(9);
    font.setWeight(QFont::Bold);
    plot->plotLayout()->insertRow(0);
    plot->plotLayout()->addElement(0, 0, new QCPTextElement(plot, QString(), font));
}

void setTitle(QCustomPlot* plot, QString const& text)
{
    if (auto* title = qobject_cast<QCPTextElement*>(plot->plotLayout()->element(0, 0)))
        title->setText(text);
}

template<typename Spin> Spin* pageChild(QWidget* page, char const* name, int type)
{
    return page->findChild<Spin*>(QString::fromLatin1(name).arg(type));
}

template<typename Param>
void saveTemplateParams(QString const& typeKey, int activeType, QString const& paramsKey,
                        QList<Param> const& params)
{
    QSettings settings;
    settings.beginGroup(settingsGroup());
    settings.setValue(typeKey, activeType);
    settings.setValue(paramsKey, QVariant::fromValue(params));
}

// The active type is read in any case; the records only when there are exactly `types` of them.
template<typename Param>
bool loadTemplateParams(QString const& typeKey, QString const& paramsKey, int types, int& activeType,
                        QList<Param>& params)
{
    QSettings settings;
    settings.beginGroup(settingsGroup());
    activeType = std::clamp(settings.value(typeKey, 0).toInt(), 0, types - 1);
    QVariant value = settings.value(paramsKey);
    auto const type = QMetaType::fromType<QList<Param>>();
    if (!value.isValid() || value.isNull() || (value.metaType() != type && !value.convert(type)))
        return false;
    auto const stored = value.value<QList<Param>>();
    if (stored.size() != types)
        return false;
    params = stored;
    return true;
}

// The record of a type, if there is one.
template<typename Param> Param* recordAt(QList<Param>& params, int type)
{
    return type >= 0 && type < params.size() ? &params[type] : nullptr;
}

// Steps that hold each row's value for its time, in ticks of the last time decimal.
template<typename Row, typename Value>
void stepCurve(QList<Row> const& rows, Value value, QList<double>& x, QList<double>& y)
{
    double const scale = ticksPerSecond();
    QList<QList<double>> values;
    values.reserve(rows.size());
    for (Row const& row : rows)
        values.append({value(row), row.time * scale});
    make_plot_values(values, x, y, Qt::AlignRight);
}

void setupTable(QTableView* view, QAbstractItemModel* model)
{
    view->setModel(model);
    // Rows of a line of text: the style's default shows only four of them under the plot.
    view->verticalHeader()->setDefaultSectionSize(view->fontMetrics().height() + 8);
    view->horizontalHeader()->setSectionResizeMode(QHeaderView::Stretch);
    view->setSelectionBehavior(QAbstractItemView::SelectItems);
}

// The row count in the groups box, red beyond what the instrument holds, and the start held
// so that start and rows stay within the instrument's memory.
void showRowCount(QSpinBox* groups, QSpinBox* start, int rows)
{
    int const most = Helper::getInstance().maxGroups;
    groups->setValue(rows);
    groups->setStyleSheet(rows > most ? kRedBackground : QString());
    start->setRange(0, most - std::min(rows, most));
}

// The widgets that both tabs have on their data side, each under names of its own.
struct DataSide
{
    QTableView* view;
    QSpinBox* cycles;
    QComboBox* endState;
    QComboBox* channel;
    QSpinBox* start;
    QSpinBox* groups;
    QPushButton* save;
    QPushButton* load;
    QPushButton* upload;
    QAction* saveAction;
    QAction* loadAction;
    QAction* uploadAction;
    QToolBar* toolbar;
    QPushButton* append;
    QPushButton* insert;
    QPushButton* run;
    QPushButton* stop;
    QLabel* runState;
};

DataSide dataSide(Ui_DialogProgrammer const* ui, DialogProgrammer::UploadMode mode)
{
    if (mode == DialogProgrammer::UploadList)
        return {ui->tvList,          ui->sbListCycles,          ui->cbbListEndState,
                ui->cbbListCH,       ui->spinListStartNum,      ui->sbListGroups,
                ui->btnListSave,     ui->btnListLoad,           ui->btnListUpload,
                ui->actionSaveList,  ui->actionloadList,        ui->actionListUpload,
                ui->toolbarListData, ui->btnListTemplateAppend, ui->btnListTemplateInsert,
                ui->btnListRun,      ui->btnListStop,           ui->lblListRunState};
    return {ui->tvDelayer,          ui->sbDelayerCycles,          ui->cbbDelayerEndState,
            ui->cbbDelayerCH,       ui->spinDelayerStartNum,      ui->sbDelayerGroups,
            ui->btnDelayerSave,     ui->btnDelayerLoad,           ui->btnDelayerUpload,
            ui->actionSaveDelayer,  ui->actionLoadDelayer,        ui->actionDelayerUpload,
            ui->toolbarDelayerData, ui->btnDelayerTemplateAppend, ui->btnDelayerTemplateInsert,
            ui->btnDelayerRun,      ui->btnDelayerStop,           ui->lblDelayerRunState};
}

// The head of the dialog's own file format.
QList<QString> dialogFileHead(QLatin1String kind, int cycles, QString const& endState, qsizetype rows)
{
    return {
        QStringLiteral("%1,%2").arg(kind, QLatin1String("10")),
        QStringLiteral("Cycles,%1").arg(cycles == 0 ? QStringLiteral("Infinite") : QString::number(cycles)),
        QStringLiteral("End Status,%1").arg(endState), QStringLiteral("Groups,%1").arg(rows)};
}

// The cycles and the end-state text of a dialog-format file, when its head is whole, of the
// kind, with one of the end states accepted and a row count that the instrument holds.
bool readDialogFileHead(QList<QString> const& lines, QLatin1String kind, QStringList const& endStates,
                        int& cycles, QString& endState)
{
    // A file shorter than its header is refused like a wrong one.
    if (lines.size() < 4)
        return false;
    QStringList const head = headerLine(lines, 0, kind);
    if (head.isEmpty() || head.at(1) != QLatin1String("10"))
        return false;
    QStringList const cyclesLine = headerLine(lines, 1, QLatin1String("Cycles"));
    if (cyclesLine.isEmpty() || !readCycles(cyclesLine.at(1), cycles))
        return false;
    QStringList const endLine = headerLine(lines, 2, QLatin1String("End Status"));
    if (endLine.isEmpty() || !endStates.contains(endLine.at(1)))
        return false;
    endState = endLine.at(1);
    return groupsLineFits(lines);
}

// The rows of a file from line `first` on, as many as the instrument holds; a line with no
// more than `fields` parts is passed over. The first part, the row number, is never read.
template<typename Row, typename Read>
QList<Row> readFileRows(QList<QString> const& lines, int first, int fields, Read read)
{
    QList<Row> rows;
    int const count = std::min(int(lines.size()) - first, Helper::getInstance().maxGroups);
    for (int i = 0; i < count; ++i) {
        QStringList const parts = lines.at(first + i).split(QLatin1Char(','), Qt::KeepEmptyParts);
        if (parts.size() > fields)
            rows.append(read(parts));
    }
    return rows;
}

} // namespace

DialogProgrammer::DialogProgrammer(Option& option, QWidget* parent)
    : QDialog(parent)
    , ui(new Ui_DialogProgrammer)
{
    ui->setupUi(this);
    registerMetaTypes();
    Helper& helper = Helper::getInstance();
    helper.setOption(option);
    helper.channel = 0;

    initWidget();
    initObject();

    ListTemplateParam& list = listTemplateParams[listActiveType];
    list.type = listActiveType;
    showListTemplate(list);

    DelayerTemplateParam& delayer = delayerTemplateParams[delayerActiveType];
    delayer.type = delayerActiveType;
    update_ui_from_delayer_tempparam(delayer);
    make_delayer_data(delayer);
}

DialogProgrammer::~DialogProgrammer()
{
    saveListTemplateParamsToSettings();
    saveDelayerTemplateParamsToSettings();
    // A run in progress ends here without stoped(): nobody is left to hear it.
    delete uploader;
    delete ui;
}

void DialogProgrammer::initWidget()
{
    initListWidgets();
    initDelayerWidgets();

    progressBar = new QProgressBar;
    progressBar->setTextVisible(false);
    progressBar->hide();
    statusBar = new QStatusBar(this);
    statusBar->addPermanentWidget(progressBar, 1);
    layout()->addWidget(statusBar);

    if (!loadListTemplateParamsFromSettings()) {
        resetListTemplateParams(listTemplateParams);
        listActiveType = 0;
    }
    if (!loadDelayerTemplateParamsFromSettings()) {
        resetDelayerTemplateParams(delayerTemplateParams);
        delayerActiveType = 0;
    }

    ui->btnReset->hide();
    ui->btnResetAll->hide();

    ui->cbbDelayerStopRuleMode->addItem(tr("None"));
    ui->cbbDelayerStopRuleMode->addItem(tr("Vo"), QStringLiteral("V"));
    ui->cbbDelayerStopRuleMode->addItem(tr("Io"), QStringLiteral("C"));
    ui->cbbDelayerStopRuleMode->addItem(tr("Po"), QStringLiteral("P"));
    // Crossed on purpose: the instrument reads the rule the other way round.
    ui->cbbDelayerStopRuleSymbol->addItem(QStringLiteral(">"), QStringLiteral("<"));
    ui->cbbDelayerStopRuleSymbol->addItem(QStringLiteral("<"), QStringLiteral(">"));
}

void DialogProgrammer::initObject()
{
    QList<QObject*> spins;
    enumChildren(ui->tabList, QStringLiteral("QAbstractSpinBox"), spins);
    for (QObject* o : std::as_const(spins))
        connect(static_cast<QAbstractSpinBox*>(o), &QAbstractSpinBox::editingFinished, this,
                &DialogProgrammer::listSpinBoxEditingFinished);

    QList<QObject*> checks;
    enumChildren(ui->tabList, QStringLiteral("QCheckBox"), checks);
    for (QObject* o : std::as_const(checks)) {
        if (o->objectName().startsWith(QLatin1String("cbListTempInverted")))
            connect(static_cast<QCheckBox*>(o), &QCheckBox::clicked, this,
                    &DialogProgrammer::cbListTempInverted_clicked);
    }

    invalidText = new QCPItemText(ui->plotDelayerTemplate);
    invalidText->setColor(QColor(QStringLiteral("#FF0000")));
    invalidText->setText(tr("Invalid"));
    invalidText->setVisible(false);

    spins.clear();
    enumChildren(ui->tabDelayer, QStringLiteral("QAbstractSpinBox"), spins);
    for (QObject* o : std::as_const(spins))
        connect(static_cast<QAbstractSpinBox*>(o), &QAbstractSpinBox::editingFinished, this,
                &DialogProgrammer::delaySpinBoxEditingFinished);
}

void DialogProgrammer::enumChildren(QObject* parent, QString const& className, QList<QObject*>& out)
{
    if (!parent)
        return;
    QByteArray const name = className.toLatin1();
    for (QObject* child : parent->children()) {
        if (className.isEmpty() || name == child->metaObject()->className()
            || child->qt_metacast(name.constData()))
            out.append(child);
        enumChildren(child, className, out);
    }
}

QList<QObject*> DialogProgrammer::blockChildrenSignals(QObject* parent, bool block)
{
    QList<QObject*> children;
    enumChildren(parent, QString(), children);
    for (QObject* child : std::as_const(children))
        child->blockSignals(block);
    return children;
}

void DialogProgrammer::selectTvItems(QTableView* view, QModelIndex const& first, QModelIndex const& last)
{
    QItemSelectionModel* selection = view->selectionModel();
    if (!selection)
        return;
    selection->clear();
    selection->select(QItemSelection(first, last), QItemSelectionModel::Select);
    selection->setCurrentIndex(first, QItemSelectionModel::Select);
    view->scrollTo(first, QAbstractItemView::PositionAtTop);
    view->setFocus(Qt::OtherFocusReason);
}

void DialogProgrammer::showInfo(QString const& text, int ms)
{
    statusBar->setStyleSheet(QString());
    statusBar->showMessage(text, ms);
}

void DialogProgrammer::showError(QString const& text, int ms)
{
    statusBar->setStyleSheet(QStringLiteral("color:#ff0000"));
    statusBar->showMessage(text, ms);
}

bool DialogProgrammer::eventFilter(QObject* watched, QEvent* event)
{
    if (event->type() == QEvent::ContextMenu) {
        if (watched == ui->tvList) {
            listCreateContextMenu();
            return true;
        }
        if (watched == ui->tvDelayer) {
            delayerCreateContextMenu();
            return true;
        }
    }
    return QDialog::eventFilter(watched, event);
}

bool DialogProgrammer::saveListTemplateParamsToSettings() const
{
    saveTemplateParams(QStringLiteral("List Active Type"), ui->cbbListTempType->currentIndex(),
                       QStringLiteral("List Template Params"), listTemplateParams);
    return true;
}

bool DialogProgrammer::loadListTemplateParamsFromSettings()
{
    return loadTemplateParams(QStringLiteral("List Active Type"), QStringLiteral("List Template Params"),
                              kListWaveTypes, listActiveType, listTemplateParams);
}

bool DialogProgrammer::saveDelayerTemplateParamsToSettings() const
{
    saveTemplateParams(QStringLiteral("Delayer Active Type"), ui->cbbDelayerTempType->currentIndex(),
                       QStringLiteral("Delayer Template Params"), delayerTemplateParams);
    return true;
}

bool DialogProgrammer::loadDelayerTemplateParamsFromSettings()
{
    return loadTemplateParams(QStringLiteral("Delayer Active Type"),
                              QStringLiteral("Delayer Template Params"), kDelayerWaveTypes, delayerActiveType,
                              delayerTemplateParams);
}

void DialogProgrammer::initDataSide(UploadMode mode, QAbstractItemModel* model,
                                    QAbstractItemDelegate* delegate)
{
    Helper const& helper = Helper::getInstance();
    DataSide const side = dataSide(ui, mode);
    side.start->setRange(0, helper.maxGroups);
    side.save->setEnabled(helper.canSave);
    side.load->setEnabled(helper.canLoad);
    side.upload->setEnabled(helper.canUpload);
    side.channel->clear();
    for (Channel const& channel : helper.channels)
        side.channel->addItem(channel.name);
    side.channel->setCurrentIndex(0);

    side.view->setItemDelegate(delegate);
    setupTable(side.view, model);
    side.view->installEventFilter(this);

    side.append->setIcon(QIcon(QStringLiteral(":images/append3.png")));
    side.insert->setIcon(QIcon(QStringLiteral(":images/insert32.png")));
    side.endState->clear();
    side.endState->addItem(tr("Output Off"), QStringLiteral("OFF"));
    side.endState->addItem(tr("Output On"), QStringLiteral("ON"));
    if (mode == UploadDelayer)
        side.endState->addItem(tr("Last"), QStringLiteral("LAST"));
    side.endState->setCurrentIndex(0);
    side.cycles->setSpecialValueText(tr("Infinite"));
    side.groups->setReadOnly(true);
    side.groups->setButtonSymbols(QAbstractSpinBox::NoButtons);
    side.toolbar->hide();
    side.save->setIcon(side.saveAction->icon());
    side.load->setIcon(side.loadAction->icon());
    side.upload->setIcon(side.uploadAction->icon());

    bool const list = mode == UploadList;
    connect(side.save, &QPushButton::clicked, this,
            list ? &DialogProgrammer::on_actionSaveList_triggered
                 : &DialogProgrammer::on_actionSaveDelayer_triggered);
    connect(side.load, &QPushButton::clicked, this,
            list ? &DialogProgrammer::on_actionloadList_triggered
                 : &DialogProgrammer::on_actionLoadDelayer_triggered);
    connect(side.upload, &QPushButton::clicked, this, [this, mode] { uploaderStart(mode); });
    connect(side.run, &QPushButton::clicked, this, [this, mode] { sequenceRunStart(mode); });
    connect(side.stop, &QPushButton::clicked, this, [this, mode] { Q_EMIT sequenceStopRequested(mode); });
}

template<typename Model, typename Row>
bool DialogProgrammer::addTemplateRows(QTableView* view, Model* model, QList<Row> const& rows, bool insert)
{
    if (rows.isEmpty())
        return false;
    QModelIndex const current = view->currentIndex();
    int const row = insert && current.isValid() && current.model() ? current.row() : model->rowCount();
    model->insertRows(row, rows);
    selectTvItems(view, model->index(row, 0),
                  model->index(row + int(rows.size()) - 1, model->columnCount() - 1));
    return true;
}

void DialogProgrammer::showLoadedRows(UploadMode mode, UploadParam const& param)
{
    DataSide const side = dataSide(ui, mode);
    // A cancelled or refused file empties the table and keeps cycles and end state on show.
    side.cycles->setValue(param.cycles);
    side.endState->setCurrentIndex(side.endState->findData(param.endState));
    QAbstractItemModel* model = side.view->model();
    selectTvItems(side.view, model->index(0, 0),
                  model->index(model->rowCount() - 1, model->columnCount() - 1));
    side.view->setFocus();
    if (mode == UploadList)
        updateListGroupsWidget();
    else
        updateDelayerGroupsWidget();
}

// ---- List tab ---------------------------------------------------------------------------

void DialogProgrammer::initListWidgets()
{
    Helper const& helper = Helper::getInstance();
    blockChildrenSignals(ui->tabList, true);

    for (QDoubleSpinBox* spin : ui->tabList->findChildren<QDoubleSpinBox*>()) {
        QString const name = spin->objectName();
        if (name.startsWith(QLatin1String("sbListTempPeriod"))
            || name.startsWith(QLatin1String("sbListTempInterval"))
            || name.startsWith(QLatin1String("sbListTempWidth")))
            spin->setDecimals(helper.timeDecimals);
    }

    QCustomPlot* plot = ui->plotList;
    setupPlotBase(plot);
    plot->legend->setVisible(true);
    plot->yAxis->setLabel(tr("Voltage(V)"));
    plot->yAxis->setRange(0, 35);
    plot->yAxis2->setLabel(tr("Current(A)"));
    plot->yAxis2->setVisible(true);
    plot->yAxis2->setTicks(true);
    listVoltageCurve = new QCPCurve(plot->xAxis, plot->yAxis);
    listVoltageCurve->setName(tr("Voltage"));
    listVoltageCurve->setPen(QPen(kVoltageColor));
    listCurrentCurve = new QCPCurve(plot->xAxis, plot->yAxis2);
    listCurrentCurve->setName(tr("Current"));
    listCurrentCurve->setPen(QPen(kCurrentColor));

    listTemplateModel = new ListTemplateModel(listTemplateData, this);
    setupTable(ui->tvListTemplate, listTemplateModel);
    listDataModel = new ListDataModel(listData, this);
    connect(listDataModel, &QAbstractItemModel::dataChanged, this, &DialogProgrammer::updateListGroupsWidget);
    initDataSide(UploadList, listDataModel, new FloatDelegate(ui->tvList));

    plot = ui->plotListTemplate;
    setupPlotBase(plot);
    plot->legend->setVisible(false);
    plot->yAxis2->setVisible(true);
    plot->yAxis2->setTicks(false);
    addTitleRow(plot, font());
    plot->yAxis->setRange(0, 35);
    listTemplateCurve = new QCPCurve(plot->xAxis, plot->yAxis);

    static char const* const kIcons[kListWaveTypes] = {
        ":images/sine2.png",      ":images/pulse2.png",       ":images/ramp2.png",    ":images/stairup2.png",
        ":images/stairdown2.png", ":images/stairupdown2.png", ":images/exprise2.png", ":images/expfall2.png"};
    QStringList const types
        = {tr("Sine"),       tr("Pulse"),         tr("Ramp"),          tr("Stair Up"),
           tr("Stair Down"), tr("Stair Up Down"), tr("Exponent Rise"), tr("Exponent Fall")};
    ui->cbbListTempType->clear();
    for (int t = 0; t < kListWaveTypes; ++t)
        ui->cbbListTempType->addItem(QIcon(QString::fromLatin1(kIcons[t])), types.at(t));

    blockChildrenSignals(ui->tabList, false);
}

void DialogProgrammer::update_ui_from_list_tempparam(ListTemplateParam const& p)
{
    blockChildrenSignals(ui->tabList, true);
    int const channel = Helper::getInstance().channel;
    Range_t const& vr = getVRangeOfChannel(channel);
    Range_t const& cr = getCRangeOfChannel(channel);
    bool const sweepVoltage = p.object == 0;

    ui->lblListTempOtherValue->setText(sweepVoltage ? tr("Current:") : tr("Voltage:"));
    ui->sbListTempOtherValue->setSuffix(sweepVoltage ? QStringLiteral("A") : QStringLiteral("V"));
    ui->sbListTempOtherValue->setDecimals(sweepVoltage ? 3 : 4);
    Range_t const& other = sweepVoltage ? cr : vr;
    ui->sbListTempOtherValue->setRange(other.min, other.max);
    ui->sbListTempOtherValue->setValue(sweepVoltage ? p.constCurrent : p.constVoltage);

    Range_t const& swept = sweepVoltage ? vr : cr;
    QString const unit = sweepVoltage ? QStringLiteral("V") : QStringLiteral("A");
    ui->sbListTempMin->setSuffix(unit);
    ui->sbListTempMin->setRange(swept.min, swept.max);
    ui->sbListTempMin->setValue(sweepVoltage ? p.voltageMin : p.currentMin);
    ui->sbListTempMax->setSuffix(unit);
    ui->sbListTempMax->setRange(swept.min, swept.max);
    ui->sbListTempMax->setValue(sweepVoltage ? p.voltageMax : p.currentMax);
    listTemplateCurve->setPen(QPen(sweepVoltage ? kVoltageColor : kCurrentColor));

    ui->cbbListTempType->setCurrentIndex(p.type);
    ui->cbbListTempObject->setCurrentIndex(p.object);
    ui->stackedWidget->setCurrentIndex(p.type);
    if (QWidget* page = ui->stackedWidget->widget(p.type)) {
        int const t = p.type;
        if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempPeriod%1", t))
            s->setValue(p.period);
        if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempInterval%1", t))
            s->setValue(p.interval);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempCycles%1", t))
            s->setValue(p.cycles);
        if (auto* c = pageChild<QCheckBox>(page, "cbListTempInverted%1", t))
            c->setChecked(p.inverted);
        if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempWidth%1", t))
            s->setValue(p.width);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempPulseCount%1", t))
            s->setValue(p.pulseCount);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempSymmetry%1", t))
            s->setValue(p.symmetry);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempSteps%1", t))
            s->setValue(p.steps);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempExpRate%1", t))
            s->setValue(p.expRate);
        if (auto* s = pageChild<QSpinBox>(page, "sbListTempExpGroups%1", t))
            s->setValue(p.expGroups);
    }
    blockChildrenSignals(ui->tabList, false);
}

void DialogProgrammer::update_list_tempparam_from_ui(ListTemplateParam* p)
{
    p->type = ui->cbbListTempType->currentIndex();
    p->object = ui->cbbListTempObject->currentIndex();
    if (p->object == 0) {
        p->constCurrent = ui->sbListTempOtherValue->value();
        p->voltageMax = ui->sbListTempMax->value();
        p->voltageMin = ui->sbListTempMin->value();
    } else {
        // Both constants take the held voltage: switching back to a voltage sweep then shows
        // that number as the held current, within the current's range.
        p->constVoltage = ui->sbListTempOtherValue->value();
        p->constCurrent = ui->sbListTempOtherValue->value();
        p->currentMax = ui->sbListTempMax->value();
        p->currentMin = ui->sbListTempMin->value();
    }
    QWidget* page = ui->stackedWidget->widget(p->type);
    if (!page)
        return;
    int const t = p->type;
    if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempPeriod%1", t))
        p->period = s->value();
    if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempInterval%1", t))
        p->interval = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempCycles%1", t))
        p->cycles = s->value();
    if (auto* c = pageChild<QCheckBox>(page, "cbListTempInverted%1", t))
        p->inverted = c->isChecked();
    if (auto* s = pageChild<QDoubleSpinBox>(page, "sbListTempWidth%1", t))
        p->width = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempPulseCount%1", t))
        p->pulseCount = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempSymmetry%1", t))
        p->symmetry = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempSteps%1", t))
        p->steps = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempExpRate%1", t))
        p->expRate = s->value();
    if (auto* s = pageChild<QSpinBox>(page, "sbListTempExpGroups%1", t))
        p->expGroups = s->value();
}

void DialogProgrammer::showListTemplate(ListTemplateParam& p)
{
    update_ui_from_list_tempparam(p);
    // The spin boxes clamp what lies outside the channel's ranges (a default minimum of 0 V
    // shows as the model's lowest voltage): the record and its rows take what they show.
    update_list_tempparam_from_ui(&p);
    make_list_data(p);
}

void DialogProgrammer::make_list_data(ListTemplateParam const& p)
{
    QList<ListData> const wave = make_list_wave(p);
    listTemplateData.clear();
    listTemplateData.reserve(wave.size());
    for (ListData const& row : wave) {
        if (p.object == 0)
            listTemplateData.append(ListData(row.voltage, p.constCurrent, row.time));
        else
            listTemplateData.append(ListData(p.constVoltage, row.voltage, row.time));
    }
    listTemplateModel->setSourceData(listTemplateData);
    QList<double> x;
    QList<double> y;
    make_list_plot_data(listTemplateData, p.object == 0, x, y);
    update_list_plot(p, x, y);
    reportCappedTemplate(list_wave_length(p));
}

void DialogProgrammer::make_list_plot_data(QList<ListData> const& rows, bool voltage, QList<double>& x,
                                           QList<double>& y) const
{
    stepCurve(
        rows, [voltage](ListData const& row) { return voltage ? row.voltage : row.current; }, x, y);
}

void DialogProgrammer::update_list_plot(ListTemplateParam const& p, QList<double>& x, QList<double>& y)
{
    int const channel = Helper::getInstance().channel;
    Range_t const& range = p.object == 0 ? getVRangeOfChannel(channel) : getCRangeOfChannel(channel);
    QCustomPlot* plot = ui->plotListTemplate;
    setTitle(plot, ui->cbbListTempType->currentText());
    plot->yAxis->setLabel(p.object == 0 ? tr("Voltage(V)") : tr("Current(A)"));
    plot->xAxis->setRange(0, x.isEmpty() ? 0.0 : x.last() - 1.0);
    plot->yAxis->setRange(range.min, range.max);
    plot->xAxis->scaleRange(1.01);
    plot->yAxis->scaleRange(1.01);
    listTemplateCurve->setData(x, y);
    plot->replot(QCustomPlot::rpRefreshHint);
}

void DialogProgrammer::update_list_data_model(QList<ListData> const& rows)
{
    listTemplateData = rows;
    listTemplateModel->setSourceData(listTemplateData);
}

void DialogProgrammer::updateListGroupsWidget()
{
    Helper const& helper = Helper::getInstance();
    showRowCount(ui->sbListGroups, ui->spinListStartNum, int(listData.size()));

    QList<double> x;
    QList<double> y;
    make_list_plot_data(listData, true, x, y);
    listVoltageCurve->setData(x, y);
    double const end = x.isEmpty() ? 0.0 : x.last();
    make_list_plot_data(listData, false, x, y);
    listCurrentCurve->setData(x, y);

    QCustomPlot* plot = ui->plotList;
    Range_t const& vr = getVRangeOfChannel(helper.channel);
    Range_t const& cr = getCRangeOfChannel(helper.channel);
    plot->xAxis->setRange(0, end);
    plot->xAxis->scaleRange(1.01);
    plot->yAxis->setRange(vr.min, vr.max);
    plot->yAxis->scaleRange(1.03);
    plot->yAxis2->setRange(cr.min, cr.max);
    plot->yAxis2->scaleRange(1.03);
    plot->replot(QCustomPlot::rpRefreshHint);
}

void DialogProgrammer::on_cbbListTempType_currentIndexChanged(int index)
{
    if (ListTemplateParam* p = recordAt(listTemplateParams, index)) {
        p->type = index;
        showListTemplate(*p);
    }
}

void DialogProgrammer::listSpinBoxEditingFinished()
{
    if (ListTemplateParam* p = recordAt(listTemplateParams, ui->cbbListTempType->currentIndex())) {
        update_list_tempparam_from_ui(p);
        make_list_data(*p);
    }
}

void DialogProgrammer::on_cbbListTempObject_currentIndexChanged(int index)
{
    int const type = ui->cbbListTempType->currentIndex();
    if (ListTemplateParam* p = recordAt(listTemplateParams, type)) {
        p->object = index;
        p->type = type;
        showListTemplate(*p);
    }
}

void DialogProgrammer::cbListTempInverted_clicked(bool checked)
{
    int const type = ui->cbbListTempType->currentIndex();
    if (ListTemplateParam* p = recordAt(listTemplateParams, type)) {
        p->inverted = checked;
        p->type = type;
        showListTemplate(*p);
    }
}

void DialogProgrammer::on_cbbListCH_currentIndexChanged(int index)
{
    ListTemplateParam* p = recordAt(listTemplateParams, ui->cbbListTempType->currentIndex());
    if (index < 0 || !p)
        return;
    Helper::getInstance().channel = index;
    showListTemplate(*p);
}

void DialogProgrammer::on_btnReset_clicked()
{
    if (ListTemplateParam* p = recordAt(listTemplateParams, ui->cbbListTempType->currentIndex())) {
        resetListTemplateParam(*p, static_cast<unsigned char>(p->type));
        showListTemplate(*p);
    }
}

void DialogProgrammer::on_btnResetAll_clicked()
{
    resetListTemplateParams(listTemplateParams);
    int const type = std::clamp(ui->cbbListTempType->currentIndex(), 0, kListWaveTypes - 1);
    showListTemplate(listTemplateParams[type]);
}

void DialogProgrammer::on_btnListTemplateAppend_clicked()
{
    if (addTemplateRows(ui->tvList, listDataModel, listTemplateData, false))
        updateListGroupsWidget();
}

void DialogProgrammer::on_btnListTemplateInsert_clicked()
{
    if (addTemplateRows(ui->tvList, listDataModel, listTemplateData, true))
        updateListGroupsWidget();
}

namespace {

// The context menu of a data table. New rows get the editing focus on their first value,
// column 0: the models number their rows in the vertical header.
template<typename Refresh>
void popupTableMenu(QWidget* owner, QTableView* view, QAbstractItemModel* model, Refresh refresh)
{
    auto* menu = new QMenu(owner);
    menu->setAttribute(Qt::WA_DeleteOnClose);
    QModelIndex const current = view->currentIndex();
    bool const hasCurrent = current.isValid();

    QAction* append
        = menu->addAction(QIcon(QStringLiteral(":images/append3.png")), DialogProgrammer::tr("Append"));
    QObject::connect(append, &QAction::triggered, owner, [view, model, refresh] {
        int const rows = model->rowCount();
        if (model->insertRows(rows, 1))
            view->setCurrentIndex(model->index(rows, 0));
        refresh();
    });

    QAction* insert
        = menu->addAction(QIcon(QStringLiteral(":images/insert32.png")), DialogProgrammer::tr("Insert"));
    insert->setEnabled(hasCurrent);
    int const row = current.row();
    QObject::connect(insert, &QAction::triggered, owner, [view, model, refresh, row] {
        if (model->insertRows(row, 1))
            view->setCurrentIndex(model->index(row, 0));
        refresh();
    });

    menu->addSeparator();

    QAction* remove
        = menu->addAction(QIcon(QStringLiteral(":images/delete.png")), DialogProgrammer::tr("Delete"));
    remove->setEnabled(hasCurrent);
    QObject::connect(remove, &QAction::triggered, owner, [view, model, refresh] {
        QMap<int, bool> rows;
        for (QModelIndex const& index : view->selectionModel()->selectedIndexes())
            rows.insert(index.row(), true);
        // From the highest row down, so that the rows still to go keep their numbers.
        for (auto it = rows.keyEnd(); it != rows.keyBegin();) {
            --it;
            model->removeRows(*it, 1);
        }
        refresh();
    });

    QAction* clear
        = menu->addAction(QIcon(QStringLiteral(":images/deleteAll.png")), DialogProgrammer::tr("Clear"));
    clear->setEnabled(model->rowCount() > 0);
    QObject::connect(clear, &QAction::triggered, owner, [model, refresh] {
        if (model->removeRows(0, model->rowCount()))
            refresh();
    });

    menu->popup(QCursor::pos());
}

} // namespace

void DialogProgrammer::listCreateContextMenu()
{
    popupTableMenu(this, ui->tvList, listDataModel, [this] { updateListGroupsWidget(); });
}

// ---- Delayer tab ------------------------------------------------------------------------

void DialogProgrammer::initDelayerWidgets()
{
    Helper const& helper = Helper::getInstance();
    blockChildrenSignals(ui->tabDelayer, true);

    for (QDoubleSpinBox* spin :
         {ui->sbDelayerTempOnTime, ui->sbDelayerTempOffTime, ui->sbDelayerTempIncBaseValue,
          ui->sbDelayerTempIncStep, ui->sbDelayerTempDecBaseValue, ui->sbDelayerTempDecStep})
        spin->setDecimals(helper.timeDecimals);

    QCustomPlot* plot = ui->plotDelayer;
    setupPlotBase(plot);
    plot->legend->setVisible(false);
    plot->yAxis->setTicks(false);
    plot->yAxis->setRange(0, 1);
    plot->yAxis2->setVisible(true);
    plot->yAxis2->setTicks(false);
    delayerCurve = new QCPCurve(plot->xAxis, plot->yAxis);
    delayerCurve->setPen(QPen(kVoltageColor));

    delayerTemplateModel = new DelayerTemplateModel(delayerTemplateData, this);
    setupTable(ui->tvDelayerTemplate, delayerTemplateModel);
    delayerDataModel = new DelayerModel(delayerData, this);
    connect(delayerDataModel, &QAbstractItemModel::dataChanged, this,
            &DialogProgrammer::updateDelayerGroupsWidget);
    initDataSide(UploadDelayer, delayerDataModel, new ComboBoxDelegate(ui->tvDelayer));

    plot = ui->plotDelayerTemplate;
    setupPlotBase(plot);
    plot->legend->setVisible(false);
    plot->yAxis->setTicks(false);
    plot->yAxis2->setVisible(true);
    plot->yAxis2->setTicks(false);
    addTitleRow(plot, font());
    plot->yAxis->setRange(0, 1);
    delayerTemplateCurve = new QCPCurve(plot->xAxis, plot->yAxis);

    ui->cbbDelayerTempPattern->clear();
    ui->cbbDelayerTempPattern->addItem(tr("01 Pattern"), kPattern01);
    ui->cbbDelayerTempPattern->addItem(tr("10 Pattern"), kPattern10);

    blockChildrenSignals(ui->tabDelayer, false);
}

void DialogProgrammer::update_ui_from_delayer_tempparam(DelayerTemplateParam const& p)
{
    blockChildrenSignals(ui->tabDelayer, true);
    ui->cbbDelayerTempType->setCurrentIndex(p.type);
    ui->cbbDelayerTempPattern->setCurrentIndex(ui->cbbDelayerTempPattern->findData(
        p.pattern, Qt::UserRole, Qt::MatchExactly | Qt::MatchCaseSensitive));
    ui->sbDelayerTemplageGroups->setValue(p.groups);
    ui->sbDelayerTempOnTime->setValue(p.onTime);
    // The off delay shows the on delay: both are equal from the next read-back on.
    ui->sbDelayerTempOffTime->setValue(p.onTime);
    ui->sbDelayerTempIncBaseValue->setValue(p.incBase);
    ui->sbDelayerTempIncStep->setValue(p.incStep);
    ui->sbDelayerTempDecBaseValue->setValue(p.decBase);
    ui->sbDelayerTempDecStep->setValue(p.decStep);
    ui->stacWgt->setCurrentIndex(p.type);
    blockChildrenSignals(ui->tabDelayer, false);
}

void DialogProgrammer::update_delayer_tempparam_from_ui(DelayerTemplateParam* p)
{
    p->type = ui->cbbDelayerTempType->currentIndex();
    p->pattern = ui->cbbDelayerTempPattern->currentData().toInt();
    p->groups = ui->sbDelayerTemplageGroups->value();
    p->onTime = ui->sbDelayerTempOnTime->value();
    p->offTime = ui->sbDelayerTempOffTime->value();
    p->incBase = ui->sbDelayerTempIncBaseValue->value();
    p->incStep = ui->sbDelayerTempIncStep->value();
    p->decBase = ui->sbDelayerTempDecBaseValue->value();
    p->decStep = ui->sbDelayerTempDecStep->value();
}

void DialogProgrammer::make_delayer_data(DelayerTemplateParam const& p)
{
    delayerTemplateData = make_delayer_wave(p);
    delayerTemplateModel->setSourceData(delayerTemplateData);
    QList<double> x;
    QList<double> y;
    if (!delayerTemplateData.isEmpty()) {
        invalidText->setVisible(false);
        make_delayer_plot_data(delayerTemplateData, x, y);
    } else {
        invalidText->position->setCoords(0.5, 0.5);
        invalidText->setVisible(true);
        x = {0.0, 1.0};
        y = {1.0, 1.0};
    }
    update_delayer_plot(p, x, y);
    reportCappedTemplate(delayer_wave_length(p));
}

void DialogProgrammer::make_delayer_plot_data(QList<DelayerData> const& rows, QList<double>& x,
                                              QList<double>& y) const
{
    stepCurve(
        rows, [](DelayerData const& row) { return row.state ? 1.0 : 0.0; }, x, y);
}

void DialogProgrammer::update_delayer_plot(DelayerTemplateParam const&, QList<double>& x, QList<double>& y)
{
    QCustomPlot* plot = ui->plotDelayerTemplate;
    delayerTemplateCurve->setData(x, y);
    // The title follows the list tab's wave type, as the instrument's own software has it.
    setTitle(plot, ui->cbbListTempType->currentText());
    plot->yAxis->setLabel(tr("State"));
    plot->xAxis->rescale(false);
    plot->yAxis->setRange(0, 1);
    plot->xAxis->scaleRange(1.01);
    plot->yAxis->scaleRange(1.01);
    plot->replot(QCustomPlot::rpRefreshHint);
}

void DialogProgrammer::update_delayer_data_model(QList<DelayerData> const& rows)
{
    delayerTemplateData = rows;
    delayerTemplateModel->setSourceData(delayerTemplateData);
}

void DialogProgrammer::updateDelayerGroupsWidget()
{
    showRowCount(ui->sbDelayerGroups, ui->spinDelayerStartNum, int(delayerData.size()));

    QList<double> x;
    QList<double> y;
    make_delayer_plot_data(delayerData, x, y);
    delayerCurve->setData(x, y);
    QCustomPlot* plot = ui->plotDelayer;
    plot->xAxis->setRange(0, x.isEmpty() ? 0.0 : x.last());
    plot->xAxis->scaleRange(1.01);
    plot->yAxis->setRange(0, 1);
    plot->yAxis->scaleRange(1.03);
    plot->replot(QCustomPlot::rpRefreshHint);
}

void DialogProgrammer::on_cbbDelayerTempType_currentIndexChanged(int index)
{
    if (DelayerTemplateParam* p = recordAt(delayerTemplateParams, index)) {
        p->type = index;
        update_ui_from_delayer_tempparam(*p);
        make_delayer_data(*p);
    }
}

void DialogProgrammer::on_cbbDelayerTempPattern_currentIndexChanged(int)
{
    int const type = ui->cbbDelayerTempType->currentIndex();
    if (DelayerTemplateParam* p = recordAt(delayerTemplateParams, type)) {
        p->pattern = ui->cbbDelayerTempPattern->currentData().toInt();
        p->type = type;
        update_ui_from_delayer_tempparam(*p);
        make_delayer_data(*p);
    }
}

void DialogProgrammer::delaySpinBoxEditingFinished()
{
    if (DelayerTemplateParam* p = recordAt(delayerTemplateParams, ui->cbbDelayerTempType->currentIndex())) {
        update_delayer_tempparam_from_ui(p);
        make_delayer_data(*p);
    }
}

void DialogProgrammer::on_cbbDelayerStopRuleMode_currentIndexChanged(int index)
{
    ui->cbbDelayerStopRuleSymbol->setEnabled(index >= 1);
    ui->spinDelayerStopRuleValue->setEnabled(index >= 1);
    Helper const& helper = Helper::getInstance();
    int const channel = ui->cbbDelayerCH->currentIndex();
    Range_t range;
    QString suffix;
    int decimals = 0;
    switch (index) {
    case 1:
        range = getVRangeOfChannel(channel);
        suffix = QStringLiteral("V");
        decimals = helper.voltageDecimals;
        break;
    case 2:
        range = getCRangeOfChannel(channel);
        suffix = QStringLiteral("A");
        decimals = helper.currentDecimals;
        break;
    case 3:
        range = getPRangeOfChannel(channel);
        suffix = QStringLiteral("W");
        decimals = 2;
        break;
    default:
        break;
    }
    ui->spinDelayerStopRuleValue->setDecimals(decimals);
    ui->spinDelayerStopRuleValue->setRange(range.min, range.max);
    ui->spinDelayerStopRuleValue->setSuffix(suffix);
}

QString DialogProgrammer::getStopRule(QString const& mode, QString const& symbol, double value) const
{
    return QStringLiteral("%1%2,%3").arg(mode, symbol).arg(value);
}

void DialogProgrammer::on_btnDelayerTemplateAppend_clicked()
{
    if (addTemplateRows(ui->tvDelayer, delayerDataModel, delayerTemplateData, false))
        updateDelayerGroupsWidget();
}

void DialogProgrammer::on_btnDelayerTemplateInsert_clicked()
{
    if (addTemplateRows(ui->tvDelayer, delayerDataModel, delayerTemplateData, true))
        updateDelayerGroupsWidget();
}

void DialogProgrammer::delayerCreateContextMenu()
{
    popupTableMenu(this, ui->tvDelayer, delayerDataModel, [this] { updateDelayerGroupsWidget(); });
}

void DialogProgrammer::reportCappedTemplate(qint64 fullLength)
{
    if (fullLength > kMaxWaveRows)
        showInfo(
            tr("The template gives %1 rows; only the first %2 are shown.").arg(fullLength).arg(kMaxWaveRows));
}

// ---- Files ------------------------------------------------------------------------------

void DialogProgrammer::on_actionSaveList_triggered()
{
    Q_EMIT listSaveToCSV(listData, getUploadParamFromUI(UploadList));
}

void DialogProgrammer::on_actionSaveDelayer_triggered()
{
    Q_EMIT delayerSaveToCSV(delayerData, getUploadParamFromUI(UploadDelayer));
}

void DialogProgrammer::on_actionloadList_triggered()
{
    UploadParam param = getUploadParamFromUI(UploadList);
    QList<ListData> rows;
    Q_EMIT listLoadFromCSV(rows, param);
    listData = rows;
    listDataModel->setSourceData(listData);
    showLoadedRows(UploadList, param);
}

void DialogProgrammer::on_actionLoadDelayer_triggered()
{
    UploadParam param = getUploadParamFromUI(UploadDelayer);
    QList<DelayerData> rows;
    Q_EMIT delayerLoadFromCSV(rows, param);
    delayerData = rows;
    delayerDataModel->setSourceData(delayerData);
    showLoadedRows(UploadDelayer, param);
}

bool DialogProgrammer::listSaveData(QString const& file, QList<ListData> const& datas)
{
    Helper const& helper = Helper::getInstance();
    QList<QString> lines
        = dialogFileHead(QLatin1String("LIST"), ui->sbListCycles->value(),
                         kListEndStates.value(ui->cbbListEndState->currentIndex()), datas.size());
    lines << QStringLiteral("No.,Voltage(V),Current(A),Time(s)");
    for (int i = 0; i < datas.size(); ++i) {
        ListData const& row = datas.at(i);
        lines << QStringLiteral("%1,%2,%3,%4")
                     .arg(i)
                     .arg(row.voltage, 0, 'f', helper.voltageDecimals)
                     .arg(row.current, 0, 'f', helper.currentDecimals)
                     .arg(row.time, 0, 'f', helper.timeDecimals);
    }
    return Character::csvSave(file, lines);
}

QList<ListData> DialogProgrammer::listLoadData(QString const& file)
{
    // A header of five lines, then the rows that the instrument holds.
    QList<QString> const lines = Character::csvLoad(file, 5 + std::max(0, Helper::getInstance().maxGroups));
    int cycles = 0;
    QString endState;
    // "Output On", which the writer uses, is not taken back: the instrument's software reads
    // only these two.
    if (!readDialogFileHead(lines, QLatin1String("LIST"), {kListEndStates.at(0), kListEndStates.at(2)},
                            cycles, endState))
        return {};
    QList<ListData> const rows = readFileRows<ListData>(lines, 5, 3, [](QStringList const& parts) {
        return ListData(parts.at(1).toDouble(), parts.at(2).toDouble(), parts.at(3).toDouble());
    });
    ui->sbListCycles->setValue(cycles);
    ui->cbbListEndState->setCurrentText(endState);
    return rows;
}

bool DialogProgrammer::delayerSaveData(QString const& file, QList<DelayerData> const& datas)
{
    Helper const& helper = Helper::getInstance();
    QList<QString> lines
        = dialogFileHead(QLatin1String("DELAYER"), ui->sbDelayerCycles->value(),
                         kDelayerEndStates.value(ui->cbbDelayerEndState->currentIndex()), datas.size());
    lines << QStringLiteral("No.,State,Time(s)");
    for (int i = 0; i < datas.size(); ++i) {
        DelayerData const& row = datas.at(i);
        lines << QStringLiteral("%1,%2,%3")
                     .arg(i)
                     .arg(row.state ? QStringLiteral("On") : QStringLiteral("Off"))
                     .arg(row.time, 0, 'f', helper.timeDecimals);
    }
    return Character::csvSave(file, lines);
}

QList<DelayerData> DialogProgrammer::delayerLoadData(QString const& file)
{
    // A header of five lines, then the rows that the instrument holds.
    QList<QString> const lines = Character::csvLoad(file, 5 + std::max(0, Helper::getInstance().maxGroups));
    int cycles = 0;
    QString endState;
    if (!readDialogFileHead(lines, QLatin1String("DELAYER"), kDelayerEndStates, cycles, endState))
        return {};
    QList<DelayerData> const rows = readFileRows<DelayerData>(lines, 5, 2, [](QStringList const& parts) {
        return DelayerData(parts.at(1) == QLatin1String("On"), parts.at(2).toDouble());
    });
    ui->sbDelayerCycles->setValue(cycles);
    ui->cbbDelayerEndState->setCurrentText(endState);
    return rows;
}

// ---- Upload -----------------------------------------------------------------------------

UploadParam DialogProgrammer::getUploadParamFromUI(UploadMode mode) const
{
    DataSide const side = dataSide(ui, mode);
    UploadParam param;
    param.mode = mode;
    param.channel = side.channel->currentIndex() + 1;
    param.start = side.start->value();
    param.groups = Helper::getInstance().maxGroups;
    param.cycles = side.cycles->value();
    param.endState = side.endState->currentData().toString();
    if (mode == UploadList)
        return param;
    if (ui->cbbDelayerStopRuleMode->currentIndex() == 0)
        param.stopRule = QStringLiteral("None");
    else
        param.stopRule = getStopRule(ui->cbbDelayerStopRuleMode->currentData().toString(),
                                     ui->cbbDelayerStopRuleSymbol->currentData().toString(),
                                     ui->spinDelayerStopRuleValue->value());
    return param;
}

void DialogProgrammer::on_actionListUpload_triggered()
{
    uploaderStart(UploadList);
}

void DialogProgrammer::on_actionDelayerUpload_triggered()
{
    uploaderStart(UploadDelayer);
}

void DialogProgrammer::uploaderStart(UploadMode mode)
{
    // The instrument refuses rows and base while the sequence runs; say so before sending any.
    if (m_sequenceRunning[mode]) {
        showError(mode == UploadList ? tr("The list is running") : tr("The delayer is running"), 3000);
        return;
    }
    bool const empty = mode == UploadList ? listData.isEmpty() : delayerData.isEmpty();
    if (empty) {
        showError(tr("The %1 data is empty").arg(mode == UploadList ? tr("list") : tr("delayer")), 3000);
        return;
    }
    setupUploader(mode);
    uploader->start();
}

void DialogProgrammer::sequenceRunStart(UploadMode mode)
{
    // A run would start on a sequence that is only half written.
    if (uploader) {
        showError(tr("Wait until the upload has finished"), 3000);
        return;
    }
    Q_EMIT sequenceRunRequested(mode);
}

void DialogProgrammer::showSequenceState(UploadMode mode, SequenceState const& state)
{
    m_sequenceRunning[mode] = true;
    QString const cycle = state.cycles > 0 ? tr("cycle %1 of %2").arg(state.cycle).arg(state.cycles)
                                           : tr("cycle %1 of endless").arg(state.cycle);
    dataSide(ui, mode).runState->setText(tr("Running: row %1 of %2, %3, %4 V, end state %5")
                                             .arg(state.row)
                                             .arg(state.rows)
                                             .arg(cycle)
                                             .arg(state.value, 0, 'f', Helper::getInstance().voltageDecimals)
                                             .arg(state.endState));
}

void DialogProgrammer::showSequenceEnd(UploadMode mode, bool finished)
{
    m_sequenceRunning[mode] = false;
    dataSide(ui, mode).runState->setText(finished ? tr("Finished") : tr("Stopped"));
}

void DialogProgrammer::setupUploader(UploadMode mode)
{
    // The dialog stays disabled while a run is on, so no earlier uploader can be active here.
    delete uploader;
    m_uploadMode = mode;
    qsizetype const maxGroups = Helper::getInstance().maxGroups;
    ProgrammerUploader* up = nullptr;
    if (mode == UploadList)
        up = new ListUploader(listData.mid(0, std::min(maxGroups, listData.size())), nullptr);
    else
        up = new DelayerUploader(delayerData.mid(0, std::min(maxGroups, delayerData.size())), nullptr);
    uploader = up;
    up->setStopWhenFinished(false);

    connect(up, &ProgrammerUploader::started, this, [this, mode](int count) {
        setEnabled(false);
        progressBar->setRange(0, count);
        progressBar->setValue(0);
        progressBar->show();
        UploadParam param = getUploadParamFromUI(mode);
        param.groups = count;
        Q_EMIT uploaderStarted(param);
    });
    connect(up, &ProgrammerUploader::nextData, this, [this](int index, ProgrammerData const& data) {
        Q_EMIT uploaderNextData(index, data);
        // Shown once the row is on its way: the instrument works on it while the dialog draws.
        QMetaObject::invokeMethod(
            this, [this, index] { showRowInTransit(index); }, Qt::QueuedConnection);
    });
    connect(up, &ProgrammerUploader::error, this, &DialogProgrammer::uploaderError);
    connect(up, &ProgrammerUploader::finished, this, &DialogProgrammer::uploaderFinished);
    connect(up, &ProgrammerUploader::stoped, this, [this, up] {
        setEnabled(true);
        progressBar->hide();
        Q_EMIT uploaderStoped();
        up->deleteLater();
        if (uploader == up)
            uploader = nullptr;
    });
}

void DialogProgrammer::showRowInTransit(int row)
{
    // A progress bar repaints at once on each step; held, the step joins the dialog's next
    // paint with the table's instead.
    progressBar->setUpdatesEnabled(false);
    progressBar->setValue(row + 1);
    progressBar->setUpdatesEnabled(true);
    QTableView* view = dataSide(ui, m_uploadMode).view;
    view->clearSelection();
    view->selectionModel()->setCurrentIndex(view->model()->index(row, 0),
                                            QItemSelectionModel::Select | QItemSelectionModel::Rows);
}

void DialogProgrammer::uploaderStop()
{
    // A stop may come when no run is left, from a late reply of the instrument.
    if (uploader)
        uploader->stop();
}

void DialogProgrammer::uploaderNext()
{
    if (uploader && uploader->active())
        uploader->next();
}
