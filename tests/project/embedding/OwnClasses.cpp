// Classes of a host that happen to be named as the library's, with other slots and members. Their functions have the
// names of the library's functions even for the linker, and the library must never end up in one.

#include "OwnClasses.h"

#include <cstdlib>

class Layer {
public:
    virtual int GetOwnNumber() const { return 1; }
    virtual ~Layer();
    virtual void GetOffset(int&, int&) const { std::abort(); }
    virtual void RenderLayer(bool, bool) { std::abort(); }
    virtual void ShrinkAndNormalizeLayerImages() { std::abort(); }
    bool isVisible() const;
    bool isActive() const;
    void SetOpacity(float);
    void initialize(int);
};
Layer::~Layer() = default;
bool Layer::isVisible() const
{
    std::abort();
}
bool Layer::isActive() const
{
    std::abort();
}
void Layer::SetOpacity(float)
{
    std::abort();
}

class LayerFolder : public Layer {
public:
    int GetOwnNumber() const override { return 10; }
    int GetSize() const;
    bool isVisible() const;
};
int LayerFolder::GetSize() const
{
    std::abort();
}
bool LayerFolder::isVisible() const
{
    std::abort();
}

class Shape {
public:
    virtual int GetOwnNumber() const { return 100; }
    virtual ~Shape();
    virtual void Draw();
};
Shape::~Shape() = default;
void Shape::Draw()
{
    std::abort();
}

class Symmetry {
public:
    virtual ~Symmetry();
    virtual int GetOwnNumber() const { return 1000; }
};
Symmetry::~Symmetry() = default;

class Stroke : public Shape {
public:
    int GetOwnNumber() const override { return 10000; }
    virtual void Begin();
    virtual void End();
};
void Stroke::Begin()
{
    std::abort();
}
void Stroke::End()
{
    std::abort();
}

int SumOfOwnNumbers()
{
    const Layer layer;
    const LayerFolder folder;
    const Shape shape;
    const Symmetry symmetry;
    const Stroke stroke;
    const Layer* const layers[] = {&layer, &folder};
    const Shape* const shapes[] = {&shape, &stroke};
    int sum = symmetry.GetOwnNumber();
    for (int i = 0; i < 2; ++i)
        sum += layers[i]->GetOwnNumber() + shapes[i]->GetOwnNumber();
    return sum;
}
