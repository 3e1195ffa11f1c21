#ifndef WINKHORWIDGET_H
#define WINKHORWIDGET_H

#include <QtCore/QTimer>
// The widgets' headers moved: QtGui in Qt 4, QtWidgets since.
#include <QWidget>

#include <memory>

class QShowEvent;

namespace Ui
{
class winkHorWidget;
}

// The landscape wink notice: a hand that blinks while it is shown, the model's description and the IP
// address, both as they were when the notice was made, in the middle of the X screen. GUI thread only.
class WinkHorWidget : public QWidget
{
    Q_OBJECT
public:
    WinkHorWidget();
    ~WinkHorWidget();

protected:
    void showEvent(QShowEvent *event) override;

private Q_SLOTS:
    void onTimeOut();

private:
    const std::unique_ptr<Ui::winkHorWidget> m_form;
    QTimer m_blinkTimer;
};

#endif // WINKHORWIDGET_H
