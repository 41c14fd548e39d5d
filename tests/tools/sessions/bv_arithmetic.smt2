; quarv repl --rules-only-standard --no-rules --library-semantics
; Arithmetic modulo 2^w, division by zero included.
(declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(simplify (bvadd #xff #x01))
; => #x00
(simplify (bvadd #xff #xff))
; => #xfe
(simplify (bvmul #x10 #x10))
; => #x00
(simplify (bvmul #xff #xff))
; => #x01
(simplify (bvsub #x00 #x01))
; => #xff
(simplify (bvsub #x05 #x03))
; => #x02
(simplify (bvadd x #x00))
; => (bvadd x #x00)
(simplify (bvadd #x00 x))
; => (bvadd #x00 x)
(simplify (bvmul x #x01))
; => (bvmul x #x01)
(simplify (bvmul #x00 x))
; => (bvmul #x00 x)
(simplify (bvsub x x))
; => (bvsub x x)
(simplify (bvsub x #x00))
; => (bvsub x #x00)
(simplify (bvneg (bvneg x)))
; => (bvneg (bvneg x))
(simplify (bvadd y x))
; => (bvadd y x)
(simplify (bvmul y x))
; => (bvmul y x)
(simplify (bvneg #x00))
; => #x00
(simplify (bvneg #x01))
; => #xff
(simplify (bvneg #x80))
; => #x80
(simplify (bvneg #b1))
; => #b1
(simplify (bvudiv #x7 #x0))
; => #xf
(simplify (bvurem #x7 #x0))
; => #x7
(simplify (bvudiv #x0 #x0))
; => #xf
(simplify (bvudiv #xe #x3))
; => #x4
(simplify (bvurem #xe #x3))
; => #x2
(simplify (bvudiv x #x00))
; => (bvudiv x #x00)
(simplify (bvurem x #x00))
; => (bvurem x #x00)
(simplify (bvudiv x #x01))
; => (bvudiv x #x01)
(simplify (bvsdiv #xe #x3))
; => #x0
(simplify (bvsdiv #x9 #x2))
; => #xd
(simplify (bvsdiv #x7 #xe))
; => #xd
(simplify (bvsdiv #x8 #xf))
; => #x8
(simplify (bvsdiv #x7 #x0))
; => #xf
(simplify (bvsdiv #x0 #x0))
; => #xf
(simplify (bvsdiv #x9 #x0))
; => #x1
(simplify (bvsdiv x x))
; => (bvsdiv x x)
(simplify (bvsrem #x9 #x2))
; => #xf
(simplify (bvsrem #x7 #xe))
; => #x1
(simplify (bvsrem #x9 #xe))
; => #xf
(simplify (bvsrem #x9 #x0))
; => #x9
(simplify (bvsrem #x7 #x0))
; => #x7
(simplify (bvsrem #x8 #xf))
; => #x0
(simplify (bvsrem x #x01))
; => (bvsrem x #x01)
(simplify (bvadd #xffffffffffffffff #x0000000000000001))
; => #x0000000000000000
(simplify (bvadd #xfffffffffffffffff #x00000000000000001))
; => #x00000000000000000
(simplify (bvmul #xffffffffffffffff #xffffffffffffffff))
; => #x0000000000000001
(simplify (bvneg #x8000000000000000))
; => #x8000000000000000
(simplify (bvneg #x00000000000000001))
; => #xfffffffffffffffff
(simplify (bvudiv #x10000000000000000 #x00000000000000003))
; => #x05555555555555555
(simplify (bvurem #x10000000000000000 #x00000000000000003))
; => #x00000000000000001
(simplify (bvudiv #x10000000000000000 #x00000000000000000))
; => #xfffffffffffffffff
(simplify (bvsdiv #x80000000000000000 #xfffffffffffffffff))
; => #x80000000000000000
(simplify (bvsrem #x80000000000000001 #x00000000000000002))
; => #xfffffffffffffffff
