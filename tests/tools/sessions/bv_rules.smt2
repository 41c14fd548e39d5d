; quarv repl --rules-only-standard
; What the rewrite rules add to the folding of constants.
(declare-const x (_ BitVec 8))
(declare-const y (_ BitVec 8))
(declare-const b (_ BitVec 1))
(declare-const f (_ BitVec 4))
(simplify (bvadd x x))
; => (bvshl x #x01)
(simplify (bvadd y x))
; => (bvadd x y)
(simplify (bvadd b b))
; => #b0
(simplify (bvmul #x01 x))
; => x
(simplify (bvmul #x80 x))
; => (bvshl x #x07)
(simplify (bvmul #x06 x))
; => (bvmul #x06 x)
(simplify (bvmul #x00 x))
; => #x00
(simplify (bvashr (bvashr x #xc8) #x64))
; => (bvashr (bvashr x #xc8) #x64)
(simplify (bvashr (bvashr x #x03) #x04))
; => (bvashr x #x07)
(simplify (bvand #xf f))
; => f
(simplify (bvand #x0f x))
; => (bvand #x0f x)
(simplify (bvneg (bvneg x)))
; => x
(simplify (bvnot (bvnot x)))
; => x
(simplify (bvsub x y))
; => (bvadd x (bvneg y))
(simplify (bvsub x x))
; => #x00
(simplify (bvsdiv x x))
; => (bvsdiv x x)
(simplify (bvult x x))
; => false
(simplify (bvslt x #x00))
; => (= ((_ extract 7 7) x) #b1)
(simplify ((_ extract 7 0) x))
; => x
(simplify ((_ extract 3 0) (concat x f)))
; => f
(simplify (= ((_ zero_extend 4) f) #xff))
; => false
(simplify (= ((_ sign_extend 4) f) #xff))
; => (= f #xf)
(simplify (= (bvadd x y) x))
; => (= y #x00)
(simplify (bvshl x #x08))
; => #x00
(simplify ((_ rotate_left 3) ((_ rotate_left 6) x)))
; => ((_ rotate_left 1) x)
(simplify (bvadd #x03 (bvadd #x02 x)))
; => (bvadd #x05 x)
(simplify (bvmul #x03 (bvadd #x05 x)))
; => (bvadd #x0f (bvmul #x03 x))
