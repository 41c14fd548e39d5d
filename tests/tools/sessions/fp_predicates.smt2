; quarv repl --rules-only-standard --library-semantics
; Comparisons and classes of constants: a NaN is nothing but NaN, the two zeros are equal.
(define-sort F () (_ FloatingPoint 3 5))
(declare-const x F)
(declare-const y F)
(define-fun one () F (fp #b0 #b011 #x0))
(define-fun two () F (fp #b0 #b100 #x0))
(define-fun tiny () F (fp #b0 #b000 #x1))
(define-fun nan () F (fp #b1 #b111 #x1))
(define-fun pzero () F (_ +zero 3 5))
(define-fun nzero () F (_ -zero 3 5))
(simplify (fp.eq pzero nzero))
; => true
(simplify (fp.eq nan nan))
; => false
(simplify (fp.eq one one))
; => true
(simplify (fp.eq one two))
; => false
(simplify (fp.eq y x))
; => (fp.eq x y)
(simplify (fp.eq x nan))
; => (fp.eq x (_ NaN 3 5))
(simplify (fp.eq x x))
; => (fp.eq x x)
(simplify (fp.lt one two))
; => true
(simplify (fp.lt two one))
; => false
(simplify (fp.lt nzero pzero))
; => false
(simplify (fp.lt one nan))
; => false
(simplify (fp.lt x nan))
; => (fp.lt x (_ NaN 3 5))
(simplify (fp.lt y x))
; => (fp.lt y x)
(simplify (fp.leq nan nan))
; => false
(simplify (fp.leq pzero nzero))
; => true
(simplify (fp.leq (_ -oo 3 5) (_ +oo 3 5)))
; => true
(simplify (fp.leq y x))
; => (fp.leq y x)
(simplify (fp.gt two one))
; => true
(simplify (fp.geq one two))
; => false
(simplify (fp.gt x y))
; => (fp.lt y x)
(simplify (fp.lt one two two))
; => false
(simplify (= pzero nzero))
; => false
(simplify (= nan nan))
; => true
(simplify (= nan (fp #b0 #b111 #x2)))
; => false
(simplify (= one one))
; => true
(simplify (fp.isNaN nan))
; => true
(simplify (fp.isNaN one))
; => false
(simplify (fp.isInfinite (_ -oo 3 5)))
; => true
(simplify (fp.isInfinite nan))
; => false
(simplify (fp.isZero nzero))
; => true
(simplify (fp.isZero tiny))
; => false
(simplify (fp.isSubnormal tiny))
; => true
(simplify (fp.isSubnormal pzero))
; => false
(simplify (fp.isSubnormal one))
; => false
(simplify (fp.isNormal one))
; => true
(simplify (fp.isNormal tiny))
; => false
(simplify (fp.isNormal pzero))
; => false
(simplify (fp.isNormal (_ +oo 3 5)))
; => false
(simplify (fp.isNegative nzero))
; => true
(simplify (fp.isNegative pzero))
; => false
(simplify (fp.isPositive pzero))
; => true
(simplify (fp.isPositive nzero))
; => false
(simplify (fp.isNegative nan))
; => false
(simplify (fp.isPositive nan))
; => false
(simplify (fp.isNegative (fp.neg one)))
; => true
(simplify (fp.isNaN x))
; => (fp.isNaN x)
