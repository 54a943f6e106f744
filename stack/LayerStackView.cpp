#include "stack/LayerStackView.h"

LayerStackView::~LayerStackView() = default;
