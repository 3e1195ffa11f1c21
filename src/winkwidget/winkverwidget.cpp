#include "winkverwidget.h"

#include "ui_winkverwidget.h"
#include "winknotice.h"

WinkVerWidget::WinkVerWidget()
    : m_form(new Ui::winkVerWidget)
{
    m_form->setupUi(this);
    setWindowFlags(NoticeWindowFlags);
    m_blinkTimer.setInterval(BlinkIntervalMs);
    connect(&m_blinkTimer, SIGNAL(timeout()), this, SLOT(onTimeOut()));
    showPanelIdentity(*m_form->lbl_IP, *m_form->lbl_DeviceName);
    centreOnXScreen(*this);
}

WinkVerWidget::~WinkVerWidget() {}

void WinkVerWidget::showEvent(QShowEvent *event)
{
    m_blinkTimer.start();
    QWidget::showEvent(event);
}

void WinkVerWidget::onTimeOut()
{
    blink(*m_form->label);
}
