// The message box: icon, buttons and title as the flags say.
#pragma once

#include <QMessageBox>

#include <memory>
#include <string>

#include "runtime/Ports.h"

namespace orlinths {

/// Made, not yet shown. A message without title gets the product's name.
std::unique_ptr<QMessageBox> MakeMessageBox(const std::string& text, int flags,
                                            const std::string& title, QWidget* parent);
/// The button of a box that stands for a reply.
QAbstractButton* ButtonOf(const QMessageBox& box, Reply reply);
/// Shows it until the user answers; closing a question means No.
Reply ShowMessageBox(const std::string& text, int flags, const std::string& title, QWidget* parent);

}  // namespace orlinths
