#ifndef MODELCODES_H
#define MODELCODES_H

// The model code text of a manufacture code, or null for a code that names no model. The text lives as long
// as the program.
const char *modelCodeText(int manufactureCode);

#endif // MODELCODES_H
