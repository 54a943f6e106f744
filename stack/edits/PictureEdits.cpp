#include "stack/edits/PictureEdits.h"

#include "layers/Layer.h"
#include "stack/StackRooms.h"

bool PictureEdits::Edit(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    proxy_.End();
    bool isDone = false;
    ProxyParameters parameters;
    parameters.scope = ProxyParameters::kScopeWholeLayer;
    parameters.keepsEdits->Connect([&isDone](bool& keeps, const qs::vector<PntHandle>&) { keeps = isDone; });
    if (handles.empty() || !proxy_.Begin(parameters, handles))
        return false;
    try {
        isDone = EditInProxy(handles, make);
        proxy_.End();
    } catch (...) {
        proxy_.Drop();
        throw;
    }
    return isDone;
}

bool PictureEdits::Preview(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    const bool begins = !proxy_.IsRunning();
    const ProxyParameters parameters = {};  // named: g++ 12 destroys a temporary here whose making has failed
    if (handles.empty() || !proxy_.Begin(parameters, handles))
        return false;
    bool isDone = false;
    try {
        isDone = EditInProxy(handles, make);
    } catch (...) {
        if (begins)
            proxy_.Drop();
        throw;
    }
    if (!isDone && begins)
        proxy_.End();
    return isDone;
}

bool PictureEdits::EditInProxy(const qs::vector<PntHandle>& handles, const MakePicture& make)
{
    current_.DrainDamage();
    qs::vector<LayerPicture> pictures;
    for (const PntHandle& handle : handles) {
        const Layer& layer = *tree_.GetLayerFromHandle(handle);
        pictures.push_back(layer.InProxy() ? make(layer, selection_.GetEditLimit(layer)) : LayerPicture());
        if (!pictures.back())
            return false;
    }
    for (size_t i = 0; i < handles.size(); ++i) {
        Layer& layer = *tree_.GetLayerFromHandle(handles[i]);
        proxy_.DamageEdits(layer);  // what the last preview showed
        layer.TakePicture(pictures[i]);
        proxy_.DamageEdits(layer);
    }
    current_.UpdateBrushClippingRect();
    current_.UpdateClip();
    return true;
}
