#include "data/Application.h"

namespace orlinths {

IApplication* gApp = nullptr;
IMxDocument* gMxDoc = nullptr;
IMap* gMap = nullptr;

}  // namespace orlinths
