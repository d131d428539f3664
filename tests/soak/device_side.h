// dman and the operator: the one configures, polls statistics, walks the clients
// and is restarted; the other looks, removes and switches traces on for a while.
#pragma once

#include "stage.h"

namespace tspec::soak {

class DeviceSide {
  public:
    explicit DeviceSide(Stage &stage);

    void begin();
    void be_on(Activity activity);
    // Every report that dman can ask for, and the operator's list.
    void ask_everything(Activity activity);
    // First client to last.
    void walk(Activity activity);
    void configure(Activity activity);
    void end_operator_settings(Activity activity);

  private:
    void begin_dman();
    void begin_operator();
    void restart();
    void ask(Activity activity, const std::string &question);
    void command();
    void trace_for_a_while();

    Stage &stage_;
    Chance &chance_;
    bool on_ = true;
};

} // namespace tspec::soak
