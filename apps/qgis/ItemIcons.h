// The pictures beside the items of lists: QGIS's own for layers and fields.
#pragma once

#include <QIcon>

#include "data/ItemList.h"

namespace orlinths {

/// None for a mere value.
QIcon IconOf(ItemKind kind);

}  // namespace orlinths
