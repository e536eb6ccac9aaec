#include "app/LodestrandApp.h"

START_JUCE_APPLICATION (LodestrandApp)
