// Registering undo steps, for the manager's own files.
#pragma once

#include "OrvexPDF/Manager.h"

namespace orvex {

/// Needs no memory where nothing is registered.
template <class Handler> void OrvexPDFDocumentManager::registerUndo(Handler handler) {
    if (!undoManager) {
        return;
    }
    if (!isToMarkBatch()) {
        undoManager->registerUndo<OrvexPDFDocumentManager>(shared_from_this(), std::move(handler));
        return;
    }
    undoManager->registerUndo<OrvexPDFDocumentManager>(shared_from_this(),
                                                       [edit = std::move(handler)](OrvexPDFDocumentManager& manager) {
                                                           edit(manager);
                                                           manager.endSilence();
                                                       });
    batchIsMarked_ = true;
}

} // namespace orvex
