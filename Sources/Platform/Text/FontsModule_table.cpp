#include "Platform/Text/FontsModule_p.h"

extern "C" {
extern const orvex::FontsModule orvexFontsModule;
constinit const orvex::FontsModule orvexFontsModule{orvex::installedFontFile, orvex::shaped, orvex::cutDown};
}
