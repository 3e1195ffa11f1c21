#include "winkverwidget.h"

#include "textfit.h"
#include "ui_winkverwidget.h"
#include "winknotice.h"

WinkVerWidget::WinkVerWidget()
    : m_form(new Ui::winkVerWidget)
{
    m_form->setupUi(this);
    setWindowFlags(NoticeWindowFlags);
    setPreciseInterval(m_blinkTimer, BlinkIntervalMs);
    connect(&m_blinkTimer, SIGNAL(timeout()), this, SLOT(onTimeOut()));
    showPanelIdentity(*m_form->lbl_IP, *m_form->lbl_DeviceName);
    fitTexts({*m_form->label_2, *m_form->label_3, *m_form->lbl_DeviceName, *m_form->label_5, *m_form->lbl_IP,
              *m_form->gridLayout},
             contentWidth(*m_form->frame));
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
