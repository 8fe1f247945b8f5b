#pragma once
// Asks for the local port on which to share an instrument, and whether read-only.

#include <QDialog>

class Ui_ShareDialog;

namespace zelt::host {

class ShareDialog : public QDialog
{
    Q_OBJECT
public:
    explicit ShareDialog(quint16 port, bool readOnly, QWidget* parent = nullptr);
    ~ShareDialog() override;

    quint16 port() const;
    bool readOnly() const;

private:
    void updateExample();

    Ui_ShareDialog* ui;
};

} // namespace zelt::host
