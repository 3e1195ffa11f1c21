#include "modelcodes.h"

namespace
{

struct Model {
    int manufactureCode;
    const char *text;
};

const Model Models[] = {
    {501, "QM310-44LRNA"},  {502, "QM316-44LRNA"},  {504, "QM313-44LRNA"},   {506, "QM413-JD562"},
    {509, "QM913-K8BW27"},  {510, "QM916-K8BW27"},  {511, "QM921-K8BW27"},   {512, "QM927-K8BW27"},
    {513, "QM911-K8BW27"},  {519, "QMG911-44LRNA"}, {520, "QMG913-44LRNA"},  {521, "QMG916-44LRNA"},
    {522, "QMG921-44LRNA"}, {523, "QMG927-44LRNA"}, {525, "QM906R-K8HW27"},  {528, "QM913GD-K8BW27"},
    {529, "QM906N-K8HW27"}, {530, "QM906C-K8HW27"}, {532, "QM921GD-K8BW27"},
};

} // namespace

const char *modelCodeText(int manufactureCode)
{
    for (const Model &model : Models) {
        if (model.manufactureCode == manufactureCode)
            return model.text;
    }
    return nullptr;
}
