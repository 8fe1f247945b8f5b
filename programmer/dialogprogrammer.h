#pragma once
// The programmer: builds the instrument's list and delayer sequences from wave templates,
// keeps them in tables and hands them, row by row, to whoever uploads them. It never talks to
// the driver: file work and the upload go out through its signals.

#include "specific/option.h"
#include "specific/programmerdata.h"
#include "specific/templateparams.h"
#include "specific/uploadparam.h"

#include <QDialog>
#include <QList>
#include <QModelIndex>

class QAbstractItemDelegate;
class QAbstractItemModel;
class QCPCurve;
class QCPItemText;
class QCustomPlot;
class QProgressBar;
class QStatusBar;
class QTableView;
class Ui_DialogProgrammer;

namespace zelt::specific::pxn3000s::programmer {
class DelayerModel;
class DelayerTemplateModel;
class ListDataModel;
class ListTemplateModel;
class ProgrammerUploader;
} // namespace zelt::specific::pxn3000s::programmer

class DialogProgrammer : public QDialog
{
    Q_OBJECT
public:
    enum UploadMode { UploadList = 0, UploadDelayer = 1 };

    DialogProgrammer(zelt::specific::pxn3000s::programmer::Option& option, QWidget* parent = nullptr);
    ~DialogProgrammer() override;

    void uploaderStop();
    void uploaderNext();
    void showInfo(QString const& text, int ms = 3000);
    void showError(QString const& text, int ms = 3000);

    // The alternative file format of the dialog ("LIST,10" / "DELAYER,10" headers). Loading
    // sets the cycles and end state of the tab when the file is accepted.
    bool listSaveData(QString const& file,
                      QList<zelt::specific::pxn3000s::programmer::ListData> const& datas);
    QList<zelt::specific::pxn3000s::programmer::ListData> listLoadData(QString const& file);
    bool delayerSaveData(QString const& file,
                         QList<zelt::specific::pxn3000s::programmer::DelayerData> const& datas);
    QList<zelt::specific::pxn3000s::programmer::DelayerData> delayerLoadData(QString const& file);

    UploadParam getUploadParamFromUI(UploadMode mode) const;

    // What the instrument reports of a running sequence.
    struct SequenceState
    {
        int row = 0; // from 1
        int rows = 0;
        int cycle = 0; // from 1
        int cycles = 0; // 0: endless
        double value = 0.0; // the present set value
        QString endState;
    };
    void showSequenceState(UploadMode mode, SequenceState const& state);
    // The run is over: all its cycles done, or stopped before.
    void showSequenceEnd(UploadMode mode, bool finished);

Q_SIGNALS:
    void listSaveToCSV(QList<zelt::specific::pxn3000s::programmer::ListData> const& datas,
                       UploadParam const& param);
    void listLoadFromCSV(QList<zelt::specific::pxn3000s::programmer::ListData>& datas, UploadParam& param);
    void delayerSaveToCSV(QList<zelt::specific::pxn3000s::programmer::DelayerData> const& datas,
                          UploadParam const& param);
    void delayerLoadFromCSV(QList<zelt::specific::pxn3000s::programmer::DelayerData>& datas,
                            UploadParam& param);
    void uploaderStarted(UploadParam const& param);
    void uploaderNextData(int dataIndex, zelt::specific::pxn3000s::programmer::ProgrammerData const& data);
    void uploaderFinished();
    void uploaderError(QString const& text);
    void uploaderStoped();
    void sequenceRunRequested(UploadMode mode);
    void sequenceStopRequested(UploadMode mode);

protected:
    bool eventFilter(QObject* watched, QEvent* event) override;

private Q_SLOTS:
    void on_cbbListTempType_currentIndexChanged(int index);
    void on_cbbListTempObject_currentIndexChanged(int index);
    void on_btnReset_clicked();
    void on_btnResetAll_clicked();
    void on_cbbDelayerTempType_currentIndexChanged(int index);
    void on_actionSaveList_triggered();
    void on_actionloadList_triggered();
    void on_actionSaveDelayer_triggered();
    void on_actionLoadDelayer_triggered();
    void on_cbbListCH_currentIndexChanged(int index);
    void on_btnListTemplateAppend_clicked();
    void on_btnListTemplateInsert_clicked();
    void on_actionListUpload_triggered();
    void on_actionDelayerUpload_triggered();
    void on_cbbDelayerTempPattern_currentIndexChanged(int index);
    void on_btnDelayerTemplateAppend_clicked();
    void on_btnDelayerTemplateInsert_clicked();
    void on_cbbDelayerStopRuleMode_currentIndexChanged(int index);

private:
    using ListData = zelt::specific::pxn3000s::programmer::ListData;
    using DelayerData = zelt::specific::pxn3000s::programmer::DelayerData;
    using ListTemplateParam = zelt::specific::pxn3000s::programmer::ListTemplateParam;
    using DelayerTemplateParam = zelt::specific::pxn3000s::programmer::DelayerTemplateParam;

    void initWidget();
    void initObject();
    void initListWidgets();
    void initDelayerWidgets();
    // What the two tabs' data sides share: the table, the upload's widgets, files and icons.
    void initDataSide(UploadMode mode, QAbstractItemModel* model, QAbstractItemDelegate* delegate);

    // Every descendant of parent whose class is className or inherits it; all of them for
    // an empty name.
    static void enumChildren(QObject* parent, QString const& className, QList<QObject*>& out);
    static QList<QObject*> blockChildrenSignals(QObject* parent, bool block);
    static void selectTvItems(QTableView* view, QModelIndex const& first, QModelIndex const& last);
    // Copies a template's rows into a data table, before its current row (insert) or at its
    // end, and selects them. False, and nothing changes, for a template without rows.
    template<typename Model, typename Row>
    static bool addTemplateRows(QTableView* view, Model* model, QList<Row> const& rows, bool insert);
    // Shows the cycles and end state of a loaded file and selects the rows loaded.
    void showLoadedRows(UploadMode mode, UploadParam const& param);

    bool saveListTemplateParamsToSettings() const;
    bool loadListTemplateParamsFromSettings();
    bool saveDelayerTemplateParamsToSettings() const;
    bool loadDelayerTemplateParamsFromSettings();

    void update_ui_from_list_tempparam(ListTemplateParam const& p);
    void update_list_tempparam_from_ui(ListTemplateParam* p);
    // Shows a record in the template's widgets and makes its rows.
    void showListTemplate(ListTemplateParam& p);
    void make_list_data(ListTemplateParam const& p);
    void make_list_plot_data(QList<ListData> const& rows, bool voltage, QList<double>& x,
                             QList<double>& y) const;
    void update_list_plot(ListTemplateParam const& p, QList<double>& x, QList<double>& y);
    void update_list_data_model(QList<ListData> const& rows);
    void updateListGroupsWidget();
    void listCreateContextMenu();
    void listSpinBoxEditingFinished();
    void cbListTempInverted_clicked(bool checked);

    void update_ui_from_delayer_tempparam(DelayerTemplateParam const& p);
    void update_delayer_tempparam_from_ui(DelayerTemplateParam* p);
    void make_delayer_data(DelayerTemplateParam const& p);
    void make_delayer_plot_data(QList<DelayerData> const& rows, QList<double>& x, QList<double>& y) const;
    void update_delayer_plot(DelayerTemplateParam const& p, QList<double>& x, QList<double>& y);
    void update_delayer_data_model(QList<DelayerData> const& rows);
    void updateDelayerGroupsWidget();
    void delayerCreateContextMenu();
    void delaySpinBoxEditingFinished();
    QString getStopRule(QString const& mode, QString const& symbol, double value) const;

    void setupUploader(UploadMode mode);
    void uploaderStart(UploadMode mode);
    void sequenceRunStart(UploadMode mode);
    // Moves the bar and the highlighted row to the row in transit.
    void showRowInTransit(int row);

    // Says in the status bar when the library's row cap cut a template short.
    void reportCappedTemplate(qint64 fullLength);

    Ui_DialogProgrammer* ui = nullptr;
    QStatusBar* statusBar = nullptr;
    QProgressBar* progressBar = nullptr;
    zelt::specific::pxn3000s::programmer::ProgrammerUploader* uploader = nullptr;
    UploadMode m_uploadMode = UploadList;
    bool m_sequenceRunning[2] = {false, false}; // as last reported, by mode

    QList<ListTemplateParam> listTemplateParams;
    int listActiveType = 0;
    QList<ListData> listTemplateData;
    QList<ListData> listData;
    zelt::specific::pxn3000s::programmer::ListTemplateModel* listTemplateModel = nullptr;
    zelt::specific::pxn3000s::programmer::ListDataModel* listDataModel = nullptr;
    QCPCurve* listTemplateCurve = nullptr;
    QCPCurve* listVoltageCurve = nullptr;
    QCPCurve* listCurrentCurve = nullptr;

    QList<DelayerTemplateParam> delayerTemplateParams;
    int delayerActiveType = 0;
    zelt::specific::pxn3000s::programmer::DelayerTemplateModel* delayerTemplateModel = nullptr;
    zelt::specific::pxn3000s::programmer::DelayerModel* delayerDataModel = nullptr;
    QList<DelayerData> delayerTemplateData;
    QList<DelayerData> delayerData;
    QCPCurve* delayerTemplateCurve = nullptr;
    QCPItemText* invalidText = nullptr;
    QCPCurve* delayerCurve = nullptr;
};
