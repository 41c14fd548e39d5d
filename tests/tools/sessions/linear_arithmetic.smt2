; quarv repl --rules-only-standard --no-rules
; Sums and products, and atoms as a polynomial with coprime integer coefficients against a numeral.
(declare-const x Int)
(declare-const y Int)
(declare-const r Real)
(declare-const s Real)
(simplify (+ 0 x))
; => x
(simplify (+ x 0))
; => x
(simplify (+ 2 3))
; => 5
(simplify (+ 0.5 0.5))
; => 1
(simplify (+ y x))
; => (+ x y)
(simplify (+ x 3))
; => (+ x 3)
(simplify (* x 0))
; => 0
(simplify (* 0 x))
; => 0
(simplify (* x 1))
; => x
(simplify (* 1 x))
; => x
(simplify (* x 3))
; => (* 3 x)
(simplify (* 3 x))
; => (* 3 x)
(simplify (* 6 7))
; => 42
(simplify (* y x))
; => (* x y)
(simplify (- x))
; => (- x)
(simplify (- 5))
; => (- 5)
(simplify (- (- x)))
; => (- (- x))
(simplify (/ r 2.0))
; => (* 0.5 r)
(simplify (/ 1.0 3.0))
; => (/ 1.0 3.0)
(simplify (/ r 0.0))
; => (/ r 0.0)
(simplify (+ 9223372036854775807 1))
; => 9223372036854775808
(simplify (- (- 9223372036854775807) 2))
; => (- 9223372036854775809)
(simplify (* 9223372036854775808 (- 2)))
; => (- 18446744073709551616)
(simplify (- 9223372036854775808 9223372036854775807))
; => 1
(simplify (<= 3 5))
; => true
(simplify (<= 5 3))
; => false
(simplify (= 2 2))
; => true
(simplify (= 2 3))
; => false
(simplify (<= x x))
; => true
(simplify (= x x))
; => true
(simplify (<= 9223372036854775808 9223372036854775807))
; => false
(simplify (< 9223372036854775807 9223372036854775808))
; => true
(simplify (= (- x x) 0))
; => true
(simplify (<= (+ x 1) x))
; => false
(simplify (<= x (+ x 1)))
; => true
(simplify (= (+ (* 2 x) (* 4 y)) 3))
; => false
(simplify (= (+ (* 2 x) (* 4 y)) 6))
; => (= (+ x (* 2 y)) 3)
(simplify (<= (* 2 x) 3))
; => (<= x 1)
(simplify (<= 3 (* 2 x)))
; => (<= 2 x)
(simplify (<= (* 2 x) (- 3)))
; => (<= x (- 2))
(simplify (<= (- 3) (* 2 x)))
; => (<= (- 1) x)
(simplify (<= (* 2 r) 3.0))
; => (<= r 1.5)
(simplify (<= 3.0 (* 2 r)))
; => (<= 1.5 r)
(simplify (<= (- y x) 0))
; => (<= 0 (- x y))
(simplify (<= (- x y) 0))
; => (<= (- x y) 0)
(simplify (= (- y x) 5))
; => (= (- x y) (- 5))
(simplify (= (to_real x) 2.5))
; => false
(simplify (= 2.5 (to_real x)))
; => false
(simplify (= (to_real x) 3.0))
; => (= x 3)
(simplify (= r 2.5))
; => (= r 2.5)
(simplify (= 2.5 r))
; => (= r 2.5)
(simplify (= y x))
; => (= x y)
(simplify (= s r))
; => (= r s)
(simplify (<= y x))
; => (<= 0 (- x y))
(simplify (<= (+ (* 0.5 r) (* (/ 1 3) s)) 1.0))
; => (<= (+ (* 3.0 r) (* 2.0 s)) 6.0)
(simplify (<= (+ (* 4 x) (* 6 y) 3) 0))
; => (<= (+ (* 2 x) (* 3 y)) (- 2))
(simplify (<= (+ (* 4 r) (* 6 s) 3.0) 0.0))
; => (<= (+ (* 2.0 r) (* 3.0 s)) (- 1.5))
(simplify (<= (+ (* (/ 1 2) x) (* (/ 1 3) y)) 1))
; => (<= (+ (* 3.0 (to_real x)) (* 2.0 (to_real y))) 6.0)
(simplify (<= (* x y) (* y x)))
; => true
(simplify (= (* 2 (* x y)) 4))
; => (= (* x y) 2)
(simplify (< x 3))
; => (not (<= 3 x))
(simplify (> x 3))
; => (not (<= x 3))
(simplify (>= x 3))
; => (<= 3 x)
(simplify (< x y))
; => (not (<= 0 (- x y)))
(simplify (< 1 2 3))
; => true
(simplify (< 1 3 2))
; => false
(simplify (<= 1 x 3))
; => (and (<= x 3) (<= 1 x))
(simplify (> 3 x 1))
; => (and (not (<= 3 x)) (not (<= x 1)))
(simplify (= (+ x 1) (+ 1 x)))
; => true
(simplify (= (* 2 x) (* 2 y)))
; => (= (- x y) 0)
(simplify (<= (* 9223372036854775808 x) 9223372036854775807))
; => (<= x 0)
(simplify (<= (* 9223372036854775808 x) 9223372036854775808))
; => (<= x 1)
(simplify (<= (* 18446744073709551616 x) (* 9223372036854775808 y)))
; => (<= (- (* 2 x) y) 0)
(simplify (<= (+ r x) (+ x 1)))
; => (<= r 1.0)
(simplify (distinct x (+ x 1)))
; => true
(simplify (distinct 1 2 3))
; => true
