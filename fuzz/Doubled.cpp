#include "Doubles.h"
#include "Fuzz.h"

void StartAnew() {
    ThePlatform().Reset();
}
