#include "Velmorant/Pipeline/Pipeline.hpp"

#include "Platform/Dispatch/MainLoop.hpp"
#include "Tests/Support/MemoryDataSource.hpp"
#include "Tests/Support/TestItems.hpp"
#include "Tests/Support/TestLogs.hpp"
#include "Velmorant/Pipeline/PipelineStepObservableBatchChangeHandler.hpp"
#include "Velmorant/Pipeline/Steps/Grouper.hpp"
#include "Velmorant/Pipeline/Steps/SortGroupsStep.hpp"

#include <gmock/gmock.h>

#include <chrono>

namespace velmorant {

using platform::MainLoop;
using testing::ElementsAre;

namespace {

/// An observable step that all copies of its pipeline share: it repeats the groups.
class Repeat final : public PipelineStep, public PipelineStepObservable {
public:
    explicit Repeat(std::size_t times) : times(times) {}
    Repeat(const Repeat&) = delete;

    std::string name() const override { return "Repeat " + std::to_string(times); }
    std::vector<Group> process(std::vector<Group> groups) const override {
        std::vector<Group> result;
        for (std::size_t i = 0; i < times; ++i)
            result.insert(result.end(), groups.begin(), groups.end());
        return result;
    }
    void watchForChanges(ChangeHandler handler) override { handlers_.registerHandler(std::move(handler)); }
    void performWithoutNotifiyingChanges(const SilentChange& change) override { handlers_.performSilenced(change); }
    void setTimes(std::size_t count) {
        times = count;
        handlers_.notifyChange();
    }

    std::size_t times;

private:
    PipelineStepObservableBatchChangeHandler handlers_;
};

struct Result {
    std::vector<Group> groups;
    Change change;
};

class PipelineTest : public testing::Test {
protected:
    std::vector<Result> run(const std::vector<Pipeline>& pipelines) {
        std::vector<Result> runs;
        for (const Pipeline& pipeline : pipelines)
            pipeline.process([&](std::vector<Group> groups, Change change) {
                runs.push_back({std::move(groups), std::move(change)});
            });
        EXPECT_TRUE(runs.empty()); // later, on the main queue
        EXPECT_TRUE(MainLoop::runUntil([&] { return runs.size() == pipelines.size(); }, std::chrono::seconds(5)));
        return runs;
    }

    const std::shared_ptr<MemoryDataSource> source = std::make_shared<MemoryDataSource>(itemsOf("ab"));
    const std::shared_ptr<Lines> log = std::make_shared<Lines>();
};

} // namespace

TEST_F(PipelineTest, WithoutStepsAllItemsAreOneGroup) {
    const Pipeline pipeline(source, log);
    const auto runs = run({pipeline});
    EXPECT_EQ(runs[0].groups, std::vector{Group(itemsOf("ab"))});
    EXPECT_EQ(runs[0].change.additions, (std::unordered_set<ChangeDescription>{{Group(itemsOf("ab")), 0}}));

    source->setItems({});
    EXPECT_EQ(run({pipeline})[0].groups, std::vector{Group(std::vector<StitchableItem>())});
}

TEST_F(PipelineTest, RunsItsStepsInOrderAndLogsEach) {
    Pipeline pipeline(source, log);
    pipeline.add(Grouper(0.5, log));
    pipeline.add(std::make_shared<Repeat>(2));
    pipeline.add(SortGroupsStep());
    EXPECT_EQ(lettersOf(run({pipeline})[0].groups), "b b a a");

    const std::string a = "2001-01-01 00:00:00 +0000 (100x200)", b = "2001-01-01 00:00:01 +0000 (100x200)";
    const std::string one = "Group a {\n" + a + "\n}", two = "Group b {\n" + b + "\n}";
    EXPECT_THAT(log->lines,
                ElementsAre("Processing beginning [" + a + ", " + b + "]",
                            "Grouping [Group a_b {\n" + a + "\n" + b + "\n}]",
                            "Step Grouper: [" + one + ", " + two + "]",
                            "Step Repeat 2: [" + one + ", " + two + ", " + one + ", " + two + "]",
                            "Step Sort groups by date: [" + two + ", " + two + ", " + one + ", " + one + "]",
                            "Processing finished: [" + two + ", " + two + ", " + one + ", " + one + "]"));
}

TEST_F(PipelineTest, EachRunIsComparedWithTheOneBeforeWhicheverCopyRan) {
    const Pipeline pipeline(source, log);
    const auto runs = run({pipeline, Pipeline(pipeline)});
    EXPECT_EQ(runs[0].change.additions.size(), 1u);
    EXPECT_EQ(runs[1].change, Change());
}

TEST_F(PipelineTest, FindsStepsByTypeAndInterface) {
    Pipeline pipeline(source, log);
    const auto repeat = std::make_shared<Repeat>(3);
    pipeline.add(AnyPipelineStep(Grouper(5, nullptr))); // wrapped twice is wrapped once
    pipeline.add(repeat);
    pipeline.add(Grouper(7, nullptr));
    EXPECT_EQ(pipeline.firstStep<Grouper>()->interval, 5);
    EXPECT_EQ(pipeline.firstStep<Repeat>(), repeat);
    EXPECT_EQ(pipeline.firstStep<PipelineStepObservable>(), std::shared_ptr<PipelineStepObservable>(repeat));
    EXPECT_EQ(pipeline.firstStep<SortGroupsStep>(), nullptr);

    pipeline.firstStep<Grouper>()->interval = 1; // of a copy: values are not shared
    std::vector<double> intervals;
    pipeline.applyToSteps<Grouper>([&](const Grouper& step) { intervals.push_back(step.interval); });
    EXPECT_THAT(intervals, ElementsAre(5, 7));
}

TEST_F(PipelineTest, ObservableStepsTellOfChangesUnlessSilenced) {
    Pipeline pipeline(source, log);
    const auto repeat = std::make_shared<Repeat>(1);
    pipeline.add(repeat);
    std::string called;
    pipeline.watchStepsForChanges([&] { called += "a"; });
    repeat->watchForChanges([&] {
        called += "b";
        if (called.size() == 2)
            repeat->watchForChanges([&] { called += "c"; });
    });
    EXPECT_EQ(called, ""); // not at registration
    repeat->setTimes(2);
    EXPECT_EQ(called, "ab");
    repeat->setTimes(3);
    EXPECT_EQ(called, "ababc");

    called.clear();
    repeat->performWithoutNotifiyingChanges([&](const std::function<void()>& finished) {
        EXPECT_FALSE(finished); // it ends with its return
        repeat->setTimes(4);
        EXPECT_EQ(called, "");
        repeat->performWithoutNotifiyingChanges([](const auto&) {});
        repeat->setTimes(5); // the inner use has ended the silence
    });
    EXPECT_EQ(called, "abc");
}

TEST(PipelineChangeGenerator, DescribesANewListAgainstTheLast) {
    const std::vector<Group> groups = groupsOf({"a", "b", "c", "ad"});
    const Group &a = groups[0], &b = groups[1], &c = groups[2], &longer = groups[3];
    struct Case {
        std::vector<Group> former, next;
        Change expected;
    };
    for (const auto& [former, next, expected] : std::vector<Case>{
             {{}, {a, b}, {{{a, 0}, {b, 1}}, {}, {}}},
             {{a, b}, {a, b}, {}},
             {{a, b, c}, {c, a}, {{}, {{b, 1}}, {{c, 2, 0}, {a, 0, 1}}}},
             {{a, b}, {c, a, b}, {{{c, 0}}, {}, {{a, 0, 1}, {b, 1, 2}}}},
             {{a}, {longer}, {{{longer, 0}}, {{a, 0}}, {}}},
             {{a, b}, {}, {{}, {{a, 0}, {b, 1}}, {}}},
             {{}, {a, a}, {{{a, 0}, {a, 1}}, {}, {}}},
             {{a, b, a}, {a, b, a}, {{}, {}, {{a, 2, 0}}}}, // the last place was kept
             {{a}, {b, a, a}, {{{b, 0}}, {}, {{a, 0, 1}, {a, 0, 2}}}},
         }) {
        PipelineChangeGenerator generator;
        generator.updateLastState(groupsOf({"z"}));
        generator.updateLastState(former);
        EXPECT_EQ(generator.generateChange(next), expected) << lettersOf(former) << " -> " << lettersOf(next);
        EXPECT_EQ(generator.generateChange(next), expected); // asking changes nothing
    }
    EXPECT_NE((ChangeDescription{a, 0}), (ChangeDescription{Group(a.items(), platform::Date{9}), 0}));
}

} // namespace velmorant
