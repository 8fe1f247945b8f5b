#pragma once
// The window of one KVR9000: owns the driver, starts and stops its polling, hands every
// sample to the live panel and the control widgets, and turns the user's edits into commands.

#include "driver/dmmdata.h"
#include "specific/option.h"
#include "specific/programmerdata.h"
#include "specific/uploadparam.h"
#include "util/range.h"
#include "widget/equipmentwindow.h"

#include <QList>
#include <QModelIndex>
#include <QPointer>
#include <QSharedPointer>

class ChannelWidget;
class DataRenderHouse;
class DialogProgrammer;
struct DPData;
class MyDMM;
class QCPGraph;
class QCustomPlot;
class QuickSettingDataModel;
struct PlotGraph;
class SequenceRun;
class Ui_KVR9000Window;

namespace zelt::util {
class Word;
}
namespace zelt::util::gadget {
class StateMonitor;
}
namespace zelt::widget {
class StateLabel;
}
namespace zelt::widget::measure {
class PowerSupplyLCD;
class ValueWidget;
} // namespace zelt::widget::measure

class KVR9000Window : public zelt::widget::EquipmentWindow
{
    Q_OBJECT
public:
    KVR9000Window(QSharedPointer<zelt::widget::EquipmentInfo> const& equipment, QWidget* parent = nullptr,
                  Qt::WindowFlags flags = {});
    ~KVR9000Window() override;

    // The limits of a model text "...VVV-A": VVV volts, A amperes, the power snapped up to
    // 400, 800 or 1200 W. False, with the ranges untouched, for a text of another shape.
    static bool parseRange(QString const& model, zelt::util::numeric::Range& voltage,
                           zelt::util::numeric::Range& current, zelt::util::numeric::Range& power);
    static double getMinVoltage(QString const& model);

    // The programmer's list and delayer files, as Save and Load keep them: a "start,0"
    // header, then one row a line. A reader gives no rows for a file that it refuses, and
    // sets the cycles and end state of param only when it accepts the file.
    static bool saveListDataToCsv(QString const& file,
                                  zelt::specific::pxn3000s::programmer::Option const& option,
                                  QList<zelt::specific::pxn3000s::programmer::ListData> const& datas,
                                  UploadParam const& param);
    static QList<zelt::specific::pxn3000s::programmer::ListData>
    loadlistDataFromCsv(QString const& file, zelt::specific::pxn3000s::programmer::Option const& option,
                        UploadParam& param);
    static bool saveDelayerData(QString const& file,
                                zelt::specific::pxn3000s::programmer::Option const& option,
                                QList<zelt::specific::pxn3000s::programmer::DelayerData> const& datas,
                                UploadParam const& param);
    static QList<zelt::specific::pxn3000s::programmer::DelayerData>
    loadDelayerDataFromCsv(QString const& file, zelt::specific::pxn3000s::programmer::Option const& option,
                           UploadParam& param);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;
    void timerEvent(QTimerEvent* event) override;
    void closeEvent(QCloseEvent* event) override;

private Q_SLOTS:
    void onDmmOpened();
    void onDmmClosed();
    void onDmmUpdateData(QSharedPointer<DmmData> data);
    void onDmmProcessError(QSharedPointer<zelt::util::Word> const& word);
    void onDmmUpdateListout(ListAndDelayer const& listAndDelayer);
    void onPlotTracerUpdate(QCPGraph const& graph, int xKeyPos, QString& text);
    void onQuickSettingButtonClicked(int btnIndex, QModelIndex const& index);
    void on_actionStart_triggered();
    void on_actionPause_triggered(bool checked);
    void on_actionClear_triggered();
    void on_actionExport_triggered();
    void on_actionOptions_triggered();
    void on_actionSaveImage_triggered();
    void on_actionHelp_triggered();
    void on_btnOutput_clicked();
    void on_spinV_editingFinished();
    void on_spinA_editingFinished();
    void on_spinOvp_editingFinished();
    void on_spinOcp_editingFinished();
    void on_actionTest_triggered();
    void on_actionProgrammer_triggered();
    void on_cbbSRMode_currentIndexChanged(int index);
    void on_spinVSRRising_editingFinished();
    void on_spinVSRFalling_editingFinished();
    void on_spinISRRising_editingFinished();
    void on_spinISRFalling_editingFinished();
    void on_spinInternalRES_editingFinished();
    void on_spinBrightness_editingFinished();

private:
    bool initObject();
    void generateDMM();
    void initWidget();
    void initTableView();
    void init_other_widget();
    void initDataRender();
    QCustomPlot* createPlot(QString const& title, QList<PlotGraph> const& graphs);
    void changeRenderWidget(DataRenderHouse const& render);
    // The render of the sample's active channel; null for no sample.
    DataRenderHouse* getActiveDataRender(QSharedPointer<DmmData> const& data) const;
    DataRenderHouse* getDataRenderHouse(QCustomPlot const* plot, QList<DataRenderHouse*> const& datas) const;
    void clearDataRender(DataRenderHouse& render);
    void clearAllDataRender();
    // A channel panel that a form placed under the name "lcdCh<index>", or null.
    ChannelWidget* getChannelWidget(int index) const;
    void loadSetting();
    void saveSetting();
    QList<QSharedPointer<DPData>> arrayToDpDatas(QByteArray& array) const;
    QByteArray dpDatasToArray(QList<QSharedPointer<DPData>> const& datas) const;
    // (1 V, 0.1 A), (10 V, 0.01 A) and (0 V, 0 A): a starting set, unused while a new
    // window's table starts empty.
    QList<QSharedPointer<DPData>> makeDefaultQuickSettingData() const;

    void changeControlWidgetEnalble(bool enable);
    void disableAndMonitorControlWidget(int rounds);
    void changeRangeForWidget(int channel);
    void changeWidgetEnabledStyle(QWidget* widget, bool on);

    void updateDataToDisplay(QSharedPointer<DmmData> data);
    void updateDataToConfig(QSharedPointer<DmmData> data);
    void updateDataToRender(QSharedPointer<DmmData> const& data);
    int recordedRowCount(int channel) const;
    bool isChannelChanged() const;
    void blockSignalOfConfigWidget(bool block);
    // Blocks the control widgets' signals for its lifetime, so that no early return can
    // leave the panel deaf to the user.
    class ConfigSignalGuard
    {
    public:
        explicit ConfigSignalGuard(KVR9000Window& window)
            : m_window(window)
        {
            m_window.blockSignalOfConfigWidget(true);
        }
        ~ConfigSignalGuard() { m_window.blockSignalOfConfigWidget(false); }
        Q_DISABLE_COPY_MOVE(ConfigSignalGuard)

    private:
        KVR9000Window& m_window;
    };
    QWidget* getHasFocusWidgetOfConfig() const;

    bool execHistoryMenu();
    bool execQuickSettingMenu();

    QList<QObject*> m_configWidgets;
    QList<QSharedPointer<ChannelWidget>> m_channelWidgets;
    ChannelLimitRange m_limits;
    zelt::widget::measure::PowerSupplyLCD* m_lcd = nullptr;
    zelt::widget::StateLabel* m_lblPowerMode = nullptr;
    zelt::widget::StateLabel* m_lblSRMode = nullptr;
    zelt::widget::StateLabel* m_lblCVCC = nullptr;
    zelt::widget::StateLabel* m_lblOVP = nullptr;
    zelt::widget::StateLabel* m_lblOCP = nullptr;
    zelt::widget::measure::ValueWidget* m_valueVoltage = nullptr;
    zelt::widget::measure::ValueWidget* m_valueCurrent = nullptr;
    zelt::widget::measure::ValueWidget* m_valuePower = nullptr;
    zelt::widget::measure::ValueWidget* m_groupVoltage = nullptr;
    zelt::widget::measure::ValueWidget* m_groupCurrent = nullptr;
    zelt::widget::measure::ValueWidget* m_groupPower = nullptr;
    Ui_KVR9000Window* ui = nullptr;
    MyDMM* m_dmm = nullptr;
    bool m_sampleInfinitely = true;
    int m_samplePoints = 99999;
    int m_sampleInterval = 0;
    QList<QSharedPointer<DPData>> m_quickSettings;
    QList<DataRenderHouse*> m_dataRenders;
    QuickSettingDataModel* m_quickSettingModel = nullptr;
    // Guarded: a reply of the driver may still come after the dialog has gone.
    QPointer<DialogProgrammer> m_dialogProgrammer;
    UploadParam m_uploadParam;
    SequenceRun* m_sequenceRun = nullptr;
    bool m_paused = false;
    bool m_initialised = false;
    bool m_sampleDue = false;
    int m_sampleTimerId = 0;
    zelt::util::gadget::StateMonitor* m_monitor = nullptr;
    bool m_closing = false;
    int m_errorCount = 0;
};
