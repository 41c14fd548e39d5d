; quarv repl --rules-only-standard --no-rules --library-semantics
; Comparisons fold on constants only; no identity and no extreme value is special.
(declare-const x (_ BitVec 4))
(declare-const y (_ BitVec 4))
(simplify (bvult x x))
; => (bvult x x)
(simplify (bvult #x3 #x5))
; => true
(simplify (bvult #x5 #x3))
; => false
(simplify (bvult #x5 #x5))
; => false
(simplify (bvule #x5 #x5))
; => true
(simplify (bvule #x6 #x5))
; => false
(simplify (bvule #x0 #x5))
; => true
(simplify (bvule x x))
; => (bvule x x)
(simplify (bvslt #x8 #x7))
; => true
(simplify (bvslt #x7 #x8))
; => false
(simplify (bvslt #xf #x0))
; => true
(simplify (bvslt #xf #xf))
; => false
(simplify (bvslt #x8 #xf))
; => true
(simplify (bvsle #xf #xf))
; => true
(simplify (bvsle #x8 #x7))
; => true
(simplify (bvsle #x7 #x8))
; => false
(simplify (bvsle #x9 #x8))
; => false
(simplify (bvslt x x))
; => (bvslt x x)
(simplify (bvsle x x))
; => (bvsle x x)
(simplify (bvcomp #x5 #x5))
; => #b1
(simplify (bvcomp #x5 #x6))
; => #b0
(simplify (bvcomp x x))
; => (bvcomp x x)
(simplify (bvult x #x0))
; => (bvult x #x0)
(simplify (bvult #xf x))
; => (bvult #xf x)
(simplify (bvule #x0 x))
; => (bvule #x0 x)
(simplify (bvule x #xf))
; => (bvule x #xf)
(simplify (bvslt x #x8))
; => (bvslt x #x8)
(simplify (bvslt #x7 x))
; => (bvslt #x7 x)
(simplify (bvsle #x8 x))
; => (bvsle #x8 x)
(simplify (bvsle x #x7))
; => (bvsle x #x7)
(simplify (bvcomp x #x5))
; => (bvcomp x #x5)
(simplify (bvcomp #x5 x))
; => (bvcomp #x5 x)
(simplify (bvult y x))
; => (bvult y x)
(simplify (bvule y x))
; => (bvule y x)
(simplify (bvslt y x))
; => (bvslt y x)
(simplify (bvsle y x))
; => (bvsle y x)
(simplify (bvcomp y x))
; => (bvcomp y x)
(simplify (bvsle #b1 #b0))
; => true
(simplify (bvslt #b1 #b0))
; => true
(simplify (bvsle #b0 #b1))
; => false
(simplify (bvult #b1 #b0))
; => false
(simplify (bvuge #x5 #x5))
; => true
(simplify (bvugt #x5 #x5))
; => false
(simplify (bvsgt #x7 #x8))
; => true
(simplify (bvsge #x8 #x7))
; => false
(simplify (bvuge x y))
; => (bvule y x)
(simplify (bvsgt x y))
; => (bvslt y x)
(simplify (bvslt #x8000000000000000 #x7fffffffffffffff))
; => true
(simplify (bvult #x8000000000000000 #x7fffffffffffffff))
; => false
(simplify (bvslt #x80000000000000000 #x7ffffffffffffffff))
; => true
(simplify (bvult #x80000000000000000 #x7ffffffffffffffff))
; => false
(simplify (bvslt #x80000000000000000 #x00000000000000001))
; => true
(simplify (bvsle #x00000000000000001 #x80000000000000000))
; => false
(simplify (bvcomp #x80000000000000000 #x80000000000000000))
; => #b1
(simplify (= #x5 #x5))
; => true
(simplify (= #x5 #x6))
; => false
(simplify (= #x5 x))
; => (= x #x5)
(simplify (= y x))
; => (= x y)
