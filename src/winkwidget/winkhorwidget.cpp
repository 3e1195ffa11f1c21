#include "winkhorwidget.h"

#include "ui_winkhorwidget.h"
#include "winknotice.h"

WinkHorWidget::WinkHorWidget()
    : m_form(new Ui::winkHorWidget)
{
    m_form->setupUi(this);
    setWindowFlags(NoticeWindowFlags);
    m_blinkTimer.setInterval(BlinkIntervalMs);
    connect(&m_blinkTimer, SIGNAL(timeout()), this, SLOT(onTimeOut()));
    showPanelIdentity(*m_form->lbl_IP, *m_form->lbl_DeviceName);
    centreOnXScreen(*this);
}

WinkHorWidget::~WinkHorWidget() {}

void WinkHorWidget::showEvent(QShowEvent *event)
{
    m_blinkTimer.start();
    QWidget::showEvent(event);
}

void WinkHorWidget::onTimeOut()
{
    blink(*m_form->label);
}
