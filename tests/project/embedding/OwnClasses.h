#pragma once

int SumOfOwnNumbers();
