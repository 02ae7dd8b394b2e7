#include "ui/ScreenFields.h"

#include "config/QNConfig.h"
#include "ui/QNAlertController.h"
#include "ui/QNErrorController.h"
#include "ui/QNSpinner.h"

ScreenFields::ScreenFields() = default;

ScreenFields::~ScreenFields() = default;

void ScreenFields::setErrorController(std::unique_ptr<QNErrorController> controller) {
    errorController_ = std::move(controller);
}

void ScreenFields::setSpinner(std::unique_ptr<QNSpinner> spinner) {
    spinner_ = std::move(spinner);
}

void ScreenFields::setAlert(std::shared_ptr<QNAlertController> alert) {
    alert_ = std::move(alert);
}
