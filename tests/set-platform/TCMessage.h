#include "TCServer.h"
