// The magnification of a document as a number to see and to type, in percent. Main thread only.
#pragma once

#include "Base/Signal.h"

#include <QLineEdit>
#include <memory>
#include <vector>

namespace ombrel {

class DocumentSession;

class ZoomField : public QLineEdit {
public:
    explicit ZoomField(std::shared_ptr<DocumentSession> session, QWidget* parent = nullptr);

private:
    void showZoom();
    void takeZoom();

    std::shared_ptr<DocumentSession> session_;
    std::vector<Connection> connections_;
};

} // namespace ombrel
