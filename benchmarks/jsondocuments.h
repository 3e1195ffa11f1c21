#ifndef JSONDOCUMENTS_H
#define JSONDOCUMENTS_H

#include <string>

// The text of one network interface as the platform service describes it.
std::string interfaceText();

// The text of the network manager's whole document, with this many interfaces.
std::string documentText(int interfaces);

#endif // JSONDOCUMENTS_H
