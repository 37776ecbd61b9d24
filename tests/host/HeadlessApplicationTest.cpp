#include "host/HeadlessApplication.h"

#include <gmock/gmock.h>

#include "host/Steps.h"
#include "runtime/Ports.h"
#include "runtime/RuntimeError.h"
#include "support/TestHost.h"

namespace orlinths {
namespace {

using ::testing::ElementsAre;
using ::testing::IsEmpty;

struct Area : ILayer {
  Area(const Envelope& extent, bool valid = true)
      : ILayer("area"), extent_(extent), valid_(valid) {}
  bool Valid() const override { return valid_; }
  Envelope Extent() const override { return extent_; }

 private:
  Envelope extent_;
  bool valid_;
};

LayerPtr Layer(double xMin, double yMin, double xMax, double yMax, bool valid = true) {
  return std::make_shared<Area>(Envelope{.xMin = xMin, .yMin = yMin, .xMax = xMax, .yMax = yMax},
                                valid);
}

void ExpectPlace(const Point& place, double x, double y) {
  EXPECT_DOUBLE_EQ(place.x, x);
  EXPECT_DOUBLE_EQ(place.y, y);
}

TEST(HeadlessView, FitsTheFullExtentIntoTheScreenAndCentresIt) {
  HeadlessApplication application;
  application.map.Append(Layer(0, 0, 40, 10));
  application.map.Append(Layer(50, 5, 100, 20));
  // 100 wide on 1000 units: 0.1 a unit, so 80 high around the middle at y = 10.
  const Envelope wanted{.xMin = 0, .yMin = -30, .xMax = 100, .yMax = 50};
  EXPECT_EQ(application.View().Extent(), wanted);
  ExpectPlace(application.View().ToMapPoint(0, 0), 0, 50);
  ExpectPlace(application.View().ToMapPoint(1000, 800), 100, -30);
  ExpectPlace(application.View().ToMapPoint(500, 300), 50, 20);
}

TEST(HeadlessView, FitsATallExtentByItsHeight) {
  HeadlessApplication application;
  application.map.Append(Layer(10, 0, 20, 800));
  EXPECT_EQ(application.View().Extent(),
            (Envelope{.xMin = -485, .yMin = 0, .xMax = 515, .yMax = 800}));
}

TEST(HeadlessView, PassesOverLayersThatCannotBeOpened) {
  HeadlessApplication application;
  application.map.Append(Layer(0, 0, 10, 8));
  application.map.Append(Layer(-1000, -1000, 1000, 1000, false));
  EXPECT_EQ(application.View().Extent(), (Envelope{.xMin = 0, .yMin = 0, .xMax = 10, .yMax = 8}));
}

TEST(HeadlessView, OfAPointOrNothingHasOneMapUnitToAUnitOfTheScreen) {
  HeadlessApplication application;
  EXPECT_EQ(application.View().Extent(),
            (Envelope{.xMin = 0, .yMin = 0, .xMax = 1000, .yMax = 800}));
  application.map.Append(Layer(7, 9, 7, 9));
  EXPECT_EQ(application.View().Extent(),
            (Envelope{.xMin = -493, .yMin = -391, .xMax = 507, .yMax = 409}));
}

TEST(HeadlessView, ShowsTheExtentThatWasSet) {
  HeadlessApplication application;
  application.View().SetExtent({.xMin = 0, .yMin = 0, .xMax = 10, .yMax = 80});
  EXPECT_EQ(application.View().Extent(),
            (Envelope{.xMin = -45, .yMin = 0, .xMax = 55, .yMax = 80}));
}

// ---- Progress on the status bar

std::int64_t fakeMilliseconds = 0;

struct StepsTest : ::testing::Test {
  StepsTest() {
    fakeMilliseconds = 0;
    Throttle::clock = [] { return fakeMilliseconds; };
    InitMapGlobals();
    host.application.onProgress = [this](std::int64_t position, std::int64_t max,
                                         const std::string& message) {
      told.push_back(position);
      EXPECT_EQ(max, total);
      EXPECT_EQ(message, "Counting...");
    };
  }
  ~StepsTest() override { Throttle::clock = &Throttle::SteadyMilliseconds; }
  TestHost host;
  std::int64_t total = 0;
  std::vector<std::int64_t> told;
};

TEST_F(StepsTest, AreToldAtMostTwentyTimesASecondAndTheLastAlways) {
  total = 100'000;
  {
    Steps steps(total, "Counting...");
    for (int i = 0; i < total; ++i) steps.Next();
  }
  EXPECT_THAT(told, ElementsAre(1, 100'000));
}

TEST_F(StepsTest, ThatAreSlowAreAllToldOnce) {
  total = 3;
  {
    Steps steps(total, "Counting...");
    for (int i = 0; i < 3; ++i) {
      fakeMilliseconds += 60;
      steps.Next();
    }
  }
  EXPECT_THAT(told, ElementsAre(1, 2, 3));
}

TEST_F(StepsTest, WithoutAStepOrWithoutShowingTellNothing) {
  { Steps steps(5, "Counting..."); }
  {
    Steps hidden(5, "Counting...", false);
    hidden.Next();
  }
  EXPECT_THAT(told, IsEmpty());
}

TEST_F(StepsTest, TakeAStopRequestEvenWhenNotShown) {
  Steps steps(5, "Counting...", false);
  RequestStop();
  EXPECT_THROW(steps.Next(), RuntimeError);
}

TEST_F(StepsTest, HideThemselvesWhenARunFails) {
  total = 5;
  const auto run = [&] {
    Steps steps(total, "Counting...");
    steps.Next();
    steps.Next();
    throw RuntimeError(ErrorNumber::kOverflow);
  };
  EXPECT_THROW(run(), RuntimeError);
  EXPECT_THAT(told, ElementsAre(1, 2)) << "the last position is told before it hides";
}

TEST(StepsWithoutApplication, AreHarmless) {
  Steps steps(2, "Counting...");
  steps.Next();
}

}  // namespace
}  // namespace orlinths
