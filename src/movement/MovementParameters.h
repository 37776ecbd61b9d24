// Movement parameters of animal locations, written into the points' own table: steps, bearings,
// turns and net displacements.
#pragma once

#include "data/Table.h"
#include "host/Dialog.h"

namespace orlinths {

/// Where the five parameters of a location go, as indexes of fields.
struct MovementFields {
  int stepLength, turnAngle, bearing, brgPrev, netDisp;
};

/// Writes the parameters of every point of the class. A path is a run of records with the same
/// identifier, which is rounded to 32 bits; nothing is sorted, and selections and definition
/// queries do not count. kMissing marks what is not defined at a point; the previous bearing is not
/// written at all on the last record, nor on a path of one point. True when every record was
/// written; an empty class is. Otherwise the failure has been reported: error 91 for an empty shape
/// and 6, 13 or 94 for an identifier that is no 32-bit number, all before anything is written; 9
/// for a single record; 6 for a coordinate that is not finite, where the records before it keep
/// what was written. Two walks, the shapes read in the first alone; 20 bytes a point.
bool TableAddSLTABRGNSD(IFeatureClass& points, int pathIdField, const MovementFields& fields);

/// Replaces the field `TurnAngle` by a new one with the unsigned turn at each point of each path:
/// of the points with one value in the path field, in the order of the class. kMissing on the first
/// and last point of a path and on all of a path of three points or fewer; points without a value
/// have none. True when every path was written. Otherwise the failure has been reported, and the
/// paths before it, by ascending value, keep what was written: error 91 for an empty shape and 6
/// for a coordinate that is not finite, in a path of four points or more.
bool TableAddTurnAnglePntsMulti(IFeatureClass& points, int pathIdField);

class frmMoveParamsSimple : public Dialog {
 public:
  frmMoveParamsSimple();

 private:
  void OnLoad() override;
  void ChooseLayer();
  void Calculate();

  ComboBox *cmbPL, *cmbPathID;
  Button* btnOK;
};

}  // namespace orlinths
