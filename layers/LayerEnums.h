#pragma once

/// Which of a document's three folders a container lives in, and how it acts there.
enum LayerMode : int {
    kLayerModeImage = 0,  // painted colour
    kLayerModeMask = 1,  // coverage shown in the mask colour
    kLayerModeStencil = 2,  // hides parts of the image layers that it is connected to
};

/// Which class a layer is. 0 is never used.
enum LayerType : int {
    kLayerTypeRaster = 1,
    kLayerTypeShape = 2,
    kLayerTypeObjectImage = 3,
};
