#include "winkhorwidget.h"

#include "textfit.h"
#include "ui_winkhorwidget.h"
#include "winknotice.h"

WinkHorWidget::WinkHorWidget()
    : m_form(new Ui::winkHorWidget)
{
    m_form->setupUi(this);
    setWindowFlags(NoticeWindowFlags);
    setPreciseInterval(m_blinkTimer, BlinkIntervalMs);
    connect(&m_blinkTimer, SIGNAL(timeout()), this, SLOT(onTimeOut()));
    showPanelIdentity(*m_form->lbl_IP, *m_form->lbl_DeviceName);
    const int hand =
        m_form->horizontalLayout->minimumSize().width() - m_form->verticalLayout->minimumSize().width();
    fitTexts({*m_form->label_2, *m_form->label_3, *m_form->lbl_DeviceName, *m_form->label_5, *m_form->lbl_IP,
              *m_form->formLayout},
             contentWidth(*m_form->frame) - hand);
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
